#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Utf8.h"
#include "ui/MarkupStyler.h"

namespace {

const MarkupStyler& styler() {
    static const MarkupStyler instance = [] {
        MarkupStyler s;
        s.setFont(FontDescription{"Helvetica Neue", 13, FontDescription::kRegular, false}, "");
        s.setForegroundColor(Color(0.3, 0.3, 0.3), "");
        s.setFont(FontDescription{"Helvetica Neue", 13, FontDescription::kMedium, false}, "b");
        s.setForegroundColor(Color(0.2, 0.4, 0.7), "b");
        s.setBackgroundColor(Color(1, 1, 0), "i");
        s.setLink("https://example.com", "a");
        s.setDefaultParagraphStyleWithAlignment(TextAlignment::Center, "p");
        return s;
    }();
    return instance;
}

}  // namespace

// Any input converts without crashing into runs that tile the text exactly,
// and escaped input converts back to itself (as UTF-8) with no markup left.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const AttributedString converted = styler().convertString(input);
    if (converted.length() != platform::Utf8::utf16Length(converted.string())) __builtin_trap();
    std::size_t next = 0;
    for (const AttributeRun& run : converted.runs()) {
        if (run.location != next || run.length == 0) __builtin_trap();
        next += run.length;
    }
    if (next != converted.length()) __builtin_trap();

    const AttributedString escaped = styler().convertString(MarkupStyler::prepareString(input));
    if (escaped.string() != platform::Utf8::sanitized(input) || escaped.runs().size() > 1)
        __builtin_trap();
    return 0;
}
