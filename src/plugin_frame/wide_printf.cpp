#include "plugin_frame/wide_printf.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <type_traits>

namespace {

enum class Size { Default, Short, Char, Long32, Long64, Pointer };

struct Spec {
    std::string flags;
    int width = -1;
    int precision = -1;
    Size size = Size::Default;
    bool leftAlign = false;
};

// Where the text goes: a string that grows, or a fixed buffer that keeps what fits (log lines
// formatted on every request go there, so they cost no heap).
class Output {
public:
    explicit Output(std::u16string& text) : m_text(&text) {}
    Output(char16_t* buffer, std::size_t capacity) : m_buffer(buffer), m_capacity(capacity) {}

    void Put(char16_t c) {
        if (m_text != nullptr) {
            m_text->push_back(c);
        } else if (m_length + 1 < m_capacity) {
            m_buffer[m_length++] = c;
        }
    }
    template <typename Char>
    void Put(const Char* first, const Char* last) {
        for (; first != last; ++first) {
            Put(static_cast<char16_t>(static_cast<std::make_unsigned_t<Char>>(*first)));
        }
    }
    void Fill(std::size_t count) {
        for (; count > 0; --count) {
            Put(u' ');
        }
    }
    // Terminates a buffer; the length of the text kept.
    std::size_t Finish() {
        if (m_text == nullptr && m_capacity > 0) {
            m_buffer[m_length] = u'\0';
        }
        return m_text != nullptr ? m_text->size() : m_length;
    }

private:
    std::u16string* m_text = nullptr;
    char16_t* m_buffer = nullptr;
    std::size_t m_capacity = 0;
    std::size_t m_length = 0;
};

class Formatter {
public:
    Formatter(const char16_t* format, va_list args, Output& out) : m_format(format), m_out(out) {
        va_copy(m_args, args);
    }
    ~Formatter() { va_end(m_args); }

    std::size_t Run() {
        while (*m_format != u'\0') {
            if (*m_format != u'%') {
                m_out.Put(*m_format++);
                continue;
            }
            const char16_t* start = m_format++;
            if (!Conversion()) {
                m_out.Put(start, m_format);
            }
        }
        return m_out.Finish();
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

    // The characters of text, padded with blanks to the width on the side the flags say.
    template <typename Char>
    void Pad(std::basic_string_view<Char> text, const Spec& spec) {
        const auto width = static_cast<std::size_t>(spec.width < 0 ? 0 : spec.width);
        const std::size_t fill = text.size() < width ? width - text.size() : 0;
        if (!spec.leftAlign) {
            m_out.Fill(fill);
        }
        m_out.Put(text.data(), text.data() + text.size());
        if (spec.leftAlign) {
            m_out.Fill(fill);
        }
    }

    template <typename Char>
    void Text(const Char* text, const Spec& spec) {
        std::basic_string_view<Char> view(text);
        if (spec.precision >= 0 && view.size() > static_cast<std::size_t>(spec.precision)) {
            view = view.substr(0, static_cast<std::size_t>(spec.precision));
        }
        Pad(view, spec);
    }

    void Text(const Spec& spec, bool wide) {
        const void* pointer = va_arg(m_args, const void*);
        if (pointer == nullptr) {
            Text(u"(null)", spec);
        } else if (wide) {
            Text(static_cast<const char16_t*>(pointer), spec);
        } else {
            Text(static_cast<const char*>(pointer), spec);
        }
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
        const int kept = std::min(written, static_cast<int>(sizeof buffer) - 1);
        if (kept > 0) {
            m_out.Put(buffer, buffer + kept);
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
            m_out.Put(u'%');
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
            const char16_t shown = wide ? c : static_cast<char16_t>(c & 0xFF);
            Pad(std::u16string_view(&shown, 1), spec);
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
    Output& m_out;
};

} // namespace

std::u16string FormatMs(const char16_t* format, va_list args) {
    if (format == nullptr) {
        return u"(null)";
    }
    std::u16string text;
    Output out(text);
    Formatter(format, args, out).Run();
    return text;
}

std::size_t FormatMsInto(char16_t* buffer, std::size_t capacity, const char16_t* format,
                         va_list args) {
    Output out(buffer, capacity);
    if (format == nullptr) {
        const std::u16string_view null = u"(null)";
        out.Put(null.data(), null.data() + null.size());
        return out.Finish();
    }
    return Formatter(format, args, out).Run();
}

std::size_t FormatMsInto(char16_t* buffer, std::size_t capacity, const char16_t* format, ...) {
    va_list args;
    va_start(args, format);
    const std::size_t length = FormatMsInto(buffer, capacity, format, args);
    va_end(args);
    return length;
}

std::u16string FormatMs(const char16_t* format, ...) {
    va_list args;
    va_start(args, format);
    std::u16string text = FormatMs(format, args);
    va_end(args);
    return text;
}
