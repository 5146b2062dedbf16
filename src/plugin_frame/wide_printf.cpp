#include "plugin_frame/wide_printf.h"

#include <cstdint>
#include <cstdio>
#include <string_view>

namespace {

enum class Size { Default, Short, Char, Long32, Long64, Pointer };

struct Spec {
    std::string flags;
    int width = -1;
    int precision = -1;
    Size size = Size::Default;
    bool leftAlign = false;
};

class Formatter {
public:
    Formatter(const char16_t* format, va_list args) : m_format(format) { va_copy(m_args, args); }
    ~Formatter() { va_end(m_args); }

    std::u16string Run() {
        while (*m_format != u'\0') {
            if (*m_format != u'%') {
                m_out += *m_format++;
                continue;
            }
            const char16_t* start = m_format++;
            if (!Conversion()) {
                m_out.append(start, m_format);
            }
        }
        return m_out;
    }

private:
    int Number() {
        if (*m_format == u'*') {
            ++m_format;
            return va_arg(m_args, int);
        }
        int value = 0;
        while (*m_format >= u'0' && *m_format <= u'9') {
            value = value * 10 + (*m_format++ - u'0');
        }
        return value;
    }

    bool Consume(std::u16string_view text) {
        if (std::u16string_view(m_format).substr(0, text.size()) != text) {
            return false;
        }
        m_format += text.size();
        return true;
    }

    Spec ParseSpec() {
        Spec spec;
        while (*m_format == u'-' || *m_format == u'+' || *m_format == u' ' || *m_format == u'#' ||
               *m_format == u'0') {
            spec.leftAlign = spec.leftAlign || *m_format == u'-';
            spec.flags += static_cast<char>(*m_format++);
        }
        if (*m_format == u'*' || (*m_format >= u'0' && *m_format <= u'9')) {
            spec.width = Number();
            if (spec.width < 0) {
                spec.leftAlign = true;
                spec.flags += '-';
                spec.width = -spec.width;
            }
        }
        if (*m_format == u'.') {
            ++m_format;
            spec.precision = Number();
        }
        if (Consume(u"I64") || Consume(u"ll")) {
            spec.size = Size::Long64;
        } else if (Consume(u"I32")) {
            spec.size = Size::Long32;
        } else if (Consume(u"hh")) {
            spec.size = Size::Char;
        } else if (Consume(u"h")) {
            spec.size = Size::Short;
        } else if (Consume(u"l") || Consume(u"w")) {
            spec.size = Size::Long32;
        } else if (Consume(u"I") || Consume(u"z") || Consume(u"j") || Consume(u"t")) {
            spec.size = Size::Pointer;
        } else {
            Consume(u"L");
        }
        return spec;
    }

    void Pad(std::u16string text, const Spec& spec) {
        const auto width = static_cast<std::size_t>(spec.width < 0 ? 0 : spec.width);
        if (text.size() < width) {
            const std::u16string fill(width - text.size(), u' ');
            text = spec.leftAlign ? text + fill : fill + text;
        }
        m_out += text;
    }

    void Text(const Spec& spec, bool wide) {
        std::u16string text;
        const void* pointer = va_arg(m_args, const void*);
        if (pointer == nullptr) {
            text = u"(null)";
        } else if (wide) {
            text = static_cast<const char16_t*>(pointer);
        } else {
            for (const char* c = static_cast<const char*>(pointer); *c != '\0'; ++c) {
                text += static_cast<char16_t>(static_cast<unsigned char>(*c));
            }
        }
        if (spec.precision >= 0 && text.size() > static_cast<std::size_t>(spec.precision)) {
            text.resize(static_cast<std::size_t>(spec.precision));
        }
        Pad(std::move(text), spec);
    }

    void Narrow(const Spec& spec, char conversion, const char* length, auto value) {
        std::string format = "%" + spec.flags;
        if (spec.width >= 0) {
            format += std::to_string(spec.width);
        }
        if (spec.precision >= 0) {
            format += "." + std::to_string(spec.precision);
        }
        format += length;
        format += conversion;
        char buffer[512];
        const int written = std::snprintf(buffer, sizeof buffer, format.c_str(), value);
        for (int i = 0; i < written && i < static_cast<int>(sizeof buffer) - 1; ++i) {
            m_out += static_cast<char16_t>(buffer[i]);
        }
    }

    void Integer(const Spec& spec, char conversion) {
        const bool isSigned = conversion == 'd' || conversion == 'i';
        switch (spec.size) {
        case Size::Long64:
        case Size::Pointer:
            if (isSigned) {
                Narrow(spec, conversion, "ll", va_arg(m_args, long long));
            } else {
                Narrow(spec, conversion, "ll", va_arg(m_args, unsigned long long));
            }
            return;
        case Size::Short:
            Narrow(spec, conversion, "h", va_arg(m_args, int));
            return;
        case Size::Char:
            Narrow(spec, conversion, "hh", va_arg(m_args, int));
            return;
        default:
            if (isSigned) {
                Narrow(spec, conversion, "", va_arg(m_args, int));
            } else {
                Narrow(spec, conversion, "", va_arg(m_args, unsigned int));
            }
        }
    }

    bool Conversion() {
        const Spec spec = ParseSpec();
        const char16_t conversion = *m_format;
        if (conversion == u'\0') {
            return false;
        }
        ++m_format;
        switch (conversion) {
        case u'%':
            m_out += u'%';
            return true;
        case u's':
            Text(spec, spec.size != Size::Short);
            return true;
        case u'S':
            Text(spec, spec.size == Size::Long32);
            return true;
        case u'c':
        case u'C': {
            const auto c = static_cast<char16_t>(va_arg(m_args, int));
            const bool wide =
                conversion == u'c' ? spec.size != Size::Short : spec.size == Size::Long32;
            Pad(std::u16string(1, wide ? c : static_cast<char16_t>(c & 0xFF)), spec);
            return true;
        }
        case u'd':
        case u'i':
        case u'u':
        case u'x':
        case u'X':
        case u'o':
            Integer(spec, static_cast<char>(conversion));
            return true;
        case u'p': {
            Spec pointer = spec;
            pointer.flags += '0';
            pointer.width = 16;
            Narrow(pointer, 'X', "ll",
                   static_cast<unsigned long long>(
                       reinterpret_cast<uintptr_t>(va_arg(m_args, void*))));
            return true;
        }
        case u'f':
        case u'F':
        case u'e':
        case u'E':
        case u'g':
        case u'G':
        case u'a':
        case u'A':
            Narrow(spec, static_cast<char>(conversion), "", va_arg(m_args, double));
            return true;
        default:
            return false;
        }
    }

    const char16_t* m_format;
    va_list m_args;
    std::u16string m_out;
};

} // namespace

std::u16string FormatMs(const char16_t* format, va_list args) {
    if (format == nullptr) {
        return u"(null)";
    }
    return Formatter(format, args).Run();
}

std::u16string FormatMs(const char16_t* format, ...) {
    va_list args;
    va_start(args, format);
    std::u16string text = FormatMs(format, args);
    va_end(args);
    return text;
}
