#include "fanacoustic/fan_table_text.h"

#include "common/tool_text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace {

using gpu::FanCurve;
using gpu::FanPoint;

constexpr std::string_view kSpace = " \t\r\n";

std::string_view Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kSpace);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

std::string LineError(std::size_t line, std::string_view message) {
    return "line " + std::to_string(line) + ": " + std::string(message);
}

FanTableParse Failure(std::string error) {
    return {std::nullopt, std::move(error)};
}

// The whole text as a number of type T, or nothing.
template <typename T>
std::optional<T> WholeNumber(std::string_view text) {
    T value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

std::optional<double> FiniteLevel(std::string_view text) {
    const auto level = WholeNumber<double>(text);
    return level && std::isfinite(*level) ? level : std::nullopt;
}

bool SameLetters(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::toupper(static_cast<unsigned char>(x)) ==
               std::toupper(static_cast<unsigned char>(y));
    });
}

// The fan list a section or key names ("CPU" or "GPU"), or null.
std::vector<FanPoint>* FanNamed(FanTable& table, std::string_view name, bool anyCase) {
    const auto same = [&](std::string_view fan) {
        return anyCase ? SameLetters(name, fan) : name == fan;
    };
    return same("CPU") ? &table.Cpu : same("GPU") ? &table.Gpu : nullptr;
}

// JSON, only as deep as a table goes: an object of fans, each an array of point objects.
class JsonTableReader {
public:
    explicit JsonTableReader(std::string_view text) : text_(text) {}

    FanTableParse Read() {
        FanTable table;
        if (!Accept('{')) {
            return Failed("expected \"{\"");
        }
        if (Peek() == '}') {
            ++at_;
        } else {
            do {
                std::string name;
                if (!String(name) || !Accept(':')) {
                    return Failed("expected a fan name and \":\"");
                }
                std::vector<FanPoint>* fan = FanNamed(table, name, false);
                if (fan == nullptr) {
                    return Failed("unknown fan \"" + name + "\" (CPU or GPU)");
                }
                if (!Points(*fan)) {
                    return Failed(error_);
                }
            } while (Accept(','));
            if (!Accept('}')) {
                return Failed("expected \",\" or \"}\"");
            }
        }
        if (Peek() != '\0') {
            return Failed("text after the table");
        }
        return {std::move(table), {}};
    }

private:
    FanTableParse Failed(std::string_view message) const {
        const auto line =
            1 + static_cast<std::size_t>(std::count(text_.begin(), text_.begin() + at_, '\n'));
        return Failure(LineError(line, message));
    }

    char Peek() {
        while (at_ < text_.size() && kSpace.find(text_[at_]) != std::string_view::npos) {
            ++at_;
        }
        return at_ < text_.size() ? text_[at_] : '\0';
    }
    bool Accept(char c) {
        if (Peek() != c) {
            return false;
        }
        ++at_;
        return true;
    }

    // A string without escapes (names of fans and fields need none).
    bool String(std::string& value) {
        if (!Accept('"')) {
            return false;
        }
        const std::size_t end = text_.find_first_of("\"\\\n", at_);
        if (end == std::string_view::npos || text_[end] != '"') {
            return false;
        }
        value.assign(text_.substr(at_, end - at_));
        at_ = end + 1;
        return true;
    }

    std::optional<double> NumberValue() {
        Peek();
        const std::size_t end = text_.find_first_not_of("+-0123456789.eE", at_);
        const std::string_view token =
            text_.substr(at_, (end == std::string_view::npos ? text_.size() : end) - at_);
        const auto value = token.starts_with('+') ? std::nullopt : FiniteLevel(token);
        if (value) {
            at_ += token.size();
        }
        return value;
    }

    bool Points(std::vector<FanPoint>& fan) {
        if (!Accept('[')) {
            return Fail("expected \"[\" and a list of points");
        }
        if (Accept(']')) {
            return true;
        }
        do {
            FanPoint point;
            if (!Point(point)) {
                return false;
            }
            fan.push_back(point);
        } while (Accept(','));
        return Accept(']') || Fail("expected \",\" or \"]\"");
    }

    bool Point(FanPoint& point) {
        if (!Accept('{')) {
            return Fail("expected a point {\"rpm\": ..., \"level\": ...}");
        }
        bool hasRpm = false;
        bool hasLevel = false;
        do {
            std::string field;
            if (!String(field) || !Accept(':')) {
                return Fail("expected \"rpm\" or \"level\" and \":\"");
            }
            const auto value = NumberValue();
            if (field == "rpm") {
                if (!value || *value != std::trunc(*value) || *value < INT32_MIN ||
                    *value > INT32_MAX) {
                    return Fail("rpm is not a 32-bit integer");
                }
                point.Rpm = static_cast<int32_t>(*value);
                hasRpm = true;
            } else if (field == "level") {
                if (!value) {
                    return Fail("level is not a finite number");
                }
                point.Level = *value;
                hasLevel = true;
            } else {
                return Fail("unknown field \"" + field + "\" (rpm or level)");
            }
        } while (Accept(','));
        if (!Accept('}')) {
            return Fail("expected \",\" or \"}\"");
        }
        return (hasRpm && hasLevel) || Fail("a point needs both rpm and level");
    }

    bool Fail(std::string message) {
        error_ = std::move(message);
        return false;
    }

    std::string_view text_;
    std::size_t at_ = 0;
    std::string error_;
};

void AppendIniCurve(std::string& text, std::string_view name, const FanCurve& curve) {
    text.append("[").append(name).append("]\n");
    for (const auto& [rpm, level] : curve) {
        text.append(std::to_string(rpm)).append(" = ").append(ShortestNumber(level)).append("\n");
    }
}

void AppendJsonCurve(std::string& text, std::string_view name, const FanCurve& curve) {
    text.append("  \"").append(name).append("\": [");
    bool first = true;
    for (const auto& [rpm, level] : curve) {
        text.append(first ? "\n" : ",\n")
            .append("    {\"rpm\": ")
            .append(std::to_string(rpm))
            .append(", \"level\": ")
            .append(std::isfinite(level) ? ShortestNumber(level) : "null")
            .append("}");
        first = false;
    }
    text.append(curve.empty() ? "]" : "\n  ]");
}

} // namespace

FanTableParse ParseFanTable(std::string_view text) {
    return Trim(text).starts_with('{') ? ParseFanTableJson(text) : ParseFanTableIni(text);
}

FanTableParse ParseFanTableIni(std::string_view text) {
    FanTable table;
    std::vector<FanPoint>* fan = nullptr;
    std::size_t number = 0;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        const std::string_view line = Trim(text.substr(start, end - start));
        start = end + 1;
        ++number;
        if (line.empty() || line.starts_with(';') || line.starts_with('#')) {
            continue;
        }
        if (line.starts_with('[')) {
            if (!line.ends_with(']') ||
                (fan = FanNamed(table, Trim(line.substr(1, line.size() - 2)), true)) == nullptr) {
                return Failure(LineError(number, "expected the section [CPU] or [GPU]"));
            }
            continue;
        }
        if (fan == nullptr) {
            return Failure(LineError(number, "a point before [CPU] or [GPU]"));
        }
        const std::size_t equals = line.find('=');
        const auto rpm = WholeNumber<int32_t>(Trim(line.substr(0, equals)));
        const auto level = equals == std::string_view::npos
                               ? std::nullopt
                               : FiniteLevel(Trim(line.substr(equals + 1)));
        if (!rpm || !level) {
            return Failure(LineError(
                number, "expected \"rpm = level\" (a 32-bit integer and a finite number)"));
        }
        fan->push_back({*rpm, *level});
    }
    return {std::move(table), {}};
}

FanTableParse ParseFanTableJson(std::string_view text) {
    return JsonTableReader(text).Read();
}

std::string FormatFanCurvesIni(const gpu::FanCurves& curves) {
    std::string text = "; fan acoustic table: rpm = level, linear between points\n";
    AppendIniCurve(text, "CPU", curves.Cpu);
    AppendIniCurve(text, "GPU", curves.Gpu);
    return text;
}

std::string FormatFanCurvesJson(const gpu::FanCurves& curves) {
    std::string text = "{\n";
    AppendJsonCurve(text, "CPU", curves.Cpu);
    text.append(",\n");
    AppendJsonCurve(text, "GPU", curves.Gpu);
    text.append("\n}\n");
    return text;
}
