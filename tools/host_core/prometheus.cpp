#include "host_core/prometheus.h"

#include "host_core/reading_units.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <optional>
#include <vector>

namespace orvex_host {
namespace {

struct Sample {
    std::string labels;
    double value;
};

struct Gauge {
    const Reading* reading;
    std::vector<Sample> samples;
};

std::string SampleNumber(double value) {
    if (std::isnan(value)) {
        return "NaN";
    }
    if (std::isinf(value)) {
        return value > 0 ? "+Inf" : "-Inf";
    }
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text, value);
    return {text, result.ptr};
}

std::optional<double> Number(const Value& value) {
    if (const auto number = value.AsDouble()) {
        return number;
    }
    if (const auto number = value.AsInt32()) {
        return *number;
    }
    if (const auto number = value.AsUInt32()) {
        return *number;
    }
    return std::nullopt;
}

// Gauges in order of first appearance, so the output follows the answers' own order.
class Gauges {
public:
    void Collect(const Tree& tree, std::string_view node, const std::string& labels) {
        for (const auto& [key, value] : tree.Entries()) {
            if (const Tree* child = value.AsMap()) {
                const auto [name, index] = SplitIndexedNode(key);
                if (!labels.empty() || index.empty()) {
                    continue; // readings sit at the root or one indexed node deep
                }
                std::string label(name);
                for (char& c : label) {
                    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
                }
                Collect(*child, name, label + "=\"" + std::string(index) + "\"");
                continue;
            }
            const Reading* reading = FindReading(node, key);
            const std::optional<double> number = Number(value);
            if (reading != nullptr && number) {
                Add(reading, {labels, *number * reading->toBaseUnit});
            }
        }
    }

    std::string Text() const {
        std::string text;
        for (const Gauge& gauge : order_) {
            const std::string name(gauge.reading->metric);
            text += "# HELP " + name + " " + std::string(gauge.reading->help) + "\n";
            text += "# TYPE " + name + " gauge\n";
            for (const Sample& sample : gauge.samples) {
                text += name + (sample.labels.empty() ? "" : "{" + sample.labels + "}") + " " +
                        SampleNumber(sample.value) + "\n";
            }
        }
        return text;
    }

private:
    void Add(const Reading* reading, Sample sample) {
        for (Gauge& gauge : order_) {
            if (gauge.reading->metric == reading->metric) {
                gauge.samples.push_back(std::move(sample));
                return;
            }
        }
        order_.push_back({reading, {std::move(sample)}});
    }

    std::vector<Gauge> order_;
};

} // namespace

std::string RenderPrometheus(const Tree& monitor, const Tree& disk) {
    Gauges gauges;
    gauges.Collect(monitor, "", "");
    gauges.Collect(disk, "", "");
    return gauges.Text();
}

} // namespace orvex_host
