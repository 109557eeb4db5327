#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "support/BinaryPlist.h"

// Small binary property lists that refer to one large string many times, so
// that a reader copying the string per reference builds gigabytes from a few
// hundred kilobytes: by default 200,000 references to 256 KiB (50 GB).
namespace testsupport::expanding {

struct Size {
    std::size_t references = 200'000;
    std::size_t stringBytes = 256 * 1024;
};

// One array object holding `count` references to the same object.
inline std::string arrayOf(BinaryPlist::Ref ref, std::size_t count) {
    return BinaryPlist::marker(0xA0, count) + std::string(count, static_cast<char>(ref));
}

// A plain array of the string.
inline std::vector<std::uint8_t> plainArray(Size size = {}) {
    BinaryPlist p;
    const auto text = p.ascii(std::string(size.stringBytes, 'a'));
    return p.build(p.add(arrayOf(text, size.references)));
}

// A bundle's Info.plist whose document types list the string.
inline std::vector<std::uint8_t> infoPlist(Size size = {}) {
    BinaryPlist p;
    const auto text = p.ascii(std::string(size.stringBytes, 'a'));
    const auto types = p.add(arrayOf(text, size.references));
    return p.build(p.dict({{p.ascii("CFBundleIdentifier"), p.ascii("com.example.Expanding")},
                           {p.ascii("CFBundleExecutable"), p.ascii("Expanding")},
                           {p.ascii("CFBundlePackageType"), p.ascii("APPL")},
                           {p.ascii("CFBundleDocumentTypes"), types}}));
}

// An exclude command whose path list names the string: the list itself is
// small, the references are the archive's own.
inline std::vector<std::uint8_t> commandArchive(Size size = {}) {
    BinaryPlist p;
    const auto classKey = p.ascii("$class");
    auto classEntry = [&](const std::string& name) {
        return p.dict({{p.ascii("$classname"), p.ascii(name)},
                       {p.ascii("$classes"), p.array({p.ascii(name), p.ascii("NSObject")})}});
    };
    // $objects: 0 $null, 1 the command, 2 "command", 3 "exclude-paths",
    // 4 "paths", 5 the path list, 6 the path, 7 and 8 the classes.
    const std::vector<BinaryPlist::Ref> objects = {
        p.ascii("$null"),
        p.dict({{classKey, p.uid(7)},
                {p.ascii("NS.keys"), p.array({p.uid(2), p.uid(4)})},
                {p.ascii("NS.objects"), p.array({p.uid(3), p.uid(5)})}}),
        p.ascii("command"),
        p.ascii("exclude-paths"),
        p.ascii("paths"),
        p.dict({{classKey, p.uid(8)},
                {p.ascii("NS.objects"), p.add(arrayOf(p.uid(6), size.references))}}),
        p.ascii(std::string(size.stringBytes, '/')),
        classEntry("NSDictionary"),
        classEntry("NSArray"),
    };
    return p.build(p.dict({{p.ascii("$version"), p.integer(100000)},
                           {p.ascii("$archiver"), p.ascii("NSKeyedArchiver")},
                           {p.ascii("$top"), p.dict({{p.ascii("root"), p.uid(1)}})},
                           {p.ascii("$objects"), p.array(objects)}}));
}

}  // namespace testsupport::expanding
