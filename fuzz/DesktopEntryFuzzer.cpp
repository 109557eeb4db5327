#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/DesktopEntry.h"
#include "platform/Utf8.h"

namespace {

void requireText(std::string_view text) {
    if (!platform::Utf8::isValid(text) || text.find('\0') != std::string_view::npos) {
        __builtin_trap();
    }
}

}  // namespace

// Any bytes must be answered without crashing; every value read is UTF-8
// without a NUL, and a program, when there is one, is a non-empty word
// without "=".
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto arguments = platform::DesktopEntry::splitCommandLine(text)) {
        if (arguments->empty() || arguments->front().empty()) __builtin_trap();
    }
    const auto entry = platform::DesktopEntry::parse(text);
    if (!entry) return 0;
    for (const char* locale : {"", "de", "sr_RS.UTF-8@latin", "pt_BR", "C"}) {
        requireText(entry->name(locale));
        requireText(entry->icon(locale));
        if (const auto items = entry->list("Categories", locale)) {
            for (const auto& item : *items) requireText(item);
        }
    }
    for (const char* key : {"Type", "TryExec", "StartupWMClass", "X-AppImage-Name",
                            "X-ExecLocation", "X-Flatpak", "Exec"}) {
        if (const auto value = entry->value(key)) requireText(*value);
    }
    entry->noDisplay();
    entry->hidden();
    if (const auto arguments = entry->execArguments()) {
        if (arguments->empty()) __builtin_trap();
        const auto& program = arguments->front();
        if (program.empty() || program.find('=') != std::string::npos) __builtin_trap();
        for (const auto& argument : *arguments) requireText(argument);
        if (entry->execProgram() != program) __builtin_trap();
    }
    return 0;
}
