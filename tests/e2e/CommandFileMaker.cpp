// Writes command files for the end-to-end suite.
//
//   e2e_command_files exclude FILE PATH...   a well-formed exclude command
//   e2e_command_files clear FILE             a well-formed clear command
//   e2e_command_files hostile FOLDER COUNT SEED
//       FOLDER/hostile   COUNT entries named *.msgforswhelp that the agent must
//                        consume without harm: random bytes, truncated and
//                        damaged archives, deep nesting, wrong types, absurd
//                        counts and lengths, links, a pipe, odd names
//       FOLDER/victims   what the links point at; it must survive untouched
//       FOLDER/controls  files with a near-miss extension; they must stay
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "messages/FileMessage.h"
#include "messages/KeyedArchive.h"
#include "platform/PropertyList.h"

using platform::PlistArray;
using platform::PlistDictionary;
using platform::PlistUid;
using platform::PlistValue;

namespace {

using Bytes = std::vector<std::uint8_t>;

bool writeFile(const std::string& path, const Bytes& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(out.flush());
}

Bytes bytesOf(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

Bytes excludeCommand(const std::vector<std::string>& paths) {
    auto message = FileMessage::CreateMessageForHelperToExcludeRemovedPaths(paths);
    return KeyedArchive::archivedDataWithRootObject(*message->data());
}

Bytes clearCommand() {
    auto message = FileMessage::CreateMessageForHelperToCancelExcludeRemovedPaths();
    return KeyedArchive::archivedDataWithRootObject(*message->data());
}

// An archive whose root is a chain of arrays `depth` long, each holding the
// next; with `cycle` the last one holds the first again.
Bytes deepArchive(std::uint64_t depth, bool cycle) {
    PlistArray objects{"$null"};
    for (std::uint64_t i = 0; i < depth; ++i) {
        const std::uint64_t next = i + 1 < depth ? i + 2 : (cycle ? 1 : 0);
        objects.push_back(
            PlistDictionary{{"$class", PlistUid{depth + 1}},
                            {"NS.objects", next == 0 ? PlistArray{} : PlistArray{PlistUid{next}}}});
    }
    objects.push_back(PlistDictionary{{"$classname", "NSArray"},
                                      {"$classes", PlistArray{"NSArray", "NSObject"}}});
    return platform::PropertyList::toBinary(
        PlistDictionary{{"$archiver", "NSKeyedArchiver"},
                        {"$version", KeyedArchive::kVersion},
                        {"$top", PlistDictionary{{"root", PlistUid{1}}}},
                        {"$objects", std::move(objects)}});
}

// Property-list text nested `depth` containers deep, closed or not.
Bytes deepXml(std::size_t depth, bool closed) {
    std::string text = "<?xml version=\"1.0\"?><plist version=\"1.0\">";
    for (std::size_t i = 0; i < depth; ++i) text += i % 2 ? "<array>" : "<dict><key>k</key>";
    if (closed) {
        text += "<string>x</string>";
        for (std::size_t i = depth; i-- > 0;) text += i % 2 ? "</array>" : "</dict>";
        text += "</plist>";
    }
    return bytesOf(text);
}

// A binary property list of one object whose header claims `count`
// elements, with a trailer that claims `objects` objects.
Bytes absurdBinary(std::uint8_t marker, std::uint64_t count, std::uint64_t objects) {
    auto bigEndian = [](Bytes& bytes, std::uint64_t value) {
        for (int shift = 56; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<std::uint8_t>(value >> shift));
    };
    Bytes bytes = bytesOf("bplist00");
    bytes.push_back(static_cast<std::uint8_t>(marker | 0x0F));
    bytes.push_back(0x13);  // an 8-byte integer follows
    bigEndian(bytes, count);
    const std::size_t offsetTable = bytes.size();
    bytes.push_back(8);  // the one object's offset
    // The trailer: six unused bytes, offset and reference sizes of one byte,
    // the object count, the root, where the offset table starts.
    bytes.insert(bytes.end(), {0, 0, 0, 0, 0, 0, 1, 1});
    bigEndian(bytes, objects);
    bigEndian(bytes, 0);
    bigEndian(bytes, offsetTable);
    return bytes;
}

class HostileMaker {
public:
    HostileMaker(std::string folder, std::uint32_t seed)
        : m_folder(std::move(folder)), m_random(seed) {}

    bool make(int count) {
        ::mkdir(m_folder.c_str(), 0700);
        for (const char* sub : {"/hostile", "/victims", "/controls"}) {
            if (::mkdir((m_folder + sub).c_str(), 0700) != 0 && errno != EEXIST) return false;
        }
        const std::string victim = m_folder + "/victims/precious.txt";
        if (!writeFile(victim, bytesOf("keep me\n"))) return false;
        if (::mkdir((m_folder + "/victims/folder").c_str(), 0700) != 0 && errno != EEXIST)
            return false;
        // Near misses: a different case, a further extension, none at all.
        for (const char* name : {"upper.MSGFORSWHELP", "twice.msgforswhelp.txt", "msgforswhelp",
                                 "dotted.msgforswhelp-"}) {
            if (!writeFile(m_folder + "/controls/" + name, clearCommand())) return false;
        }
        for (int i = 0; i < count; ++i) {
            if (!makeOne(i)) {
                std::fprintf(stderr, "e2e_command_files: could not write entry %d\n", i);
                return false;
            }
        }
        return true;
    }

private:
    std::size_t below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random);
    }

    Bytes randomBytes(std::size_t length) {
        Bytes bytes(length);
        for (auto& byte : bytes) byte = static_cast<std::uint8_t>(m_random());
        return bytes;
    }

    std::string name(int i) {
        // One in eight names is odd; the rest are plain.
        static const std::vector<std::string> odd = {
            "new\nline",   "tab\there",           "quote\"s'",
            "back\\slash", "-leading-dash",       "--help",
            "  spaces  ",  "ünïcødé ✓",           "日本語",
            "$(rm -rf ~)", "semi;colon",          "star*?[a]",
            "a.b.c",       std::string(200, 'L'), "%s%n%x",
            "\x01\x7f"};
        std::string stem = "entry-" + std::to_string(i);
        if (i % 8 == 7) stem += "-" + odd[below(odd.size())];
        return m_folder + "/hostile/" + stem + ".msgforswhelp";
    }

    bool makeOne(int i) {
        const std::string path = name(i);
        switch (i % 16) {
            case 0:
                return writeFile(path, randomBytes(below(8192)));
            case 1: {
                Bytes bytes = bytesOf("bplist00");
                const Bytes tail = randomBytes(below(512));
                bytes.insert(bytes.end(), tail.begin(), tail.end());
                return writeFile(path, bytes);
            }
            case 2: {  // a good command cut short
                Bytes bytes =
                    excludeCommand({"/Applications/zz-hostile-" + std::to_string(i) + ".app"});
                bytes.resize(below(bytes.size()));
                return writeFile(path, bytes);
            }
            case 3: {  // a good command with a few bytes changed
                Bytes bytes =
                    excludeCommand({"/Applications/zz-hostile-" + std::to_string(i) + ".app"});
                for (std::size_t flips = 1 + below(8); flips-- > 0;) {
                    bytes[below(bytes.size())] = static_cast<std::uint8_t>(m_random());
                }
                return writeFile(path, bytes);
            }
            case 4: {  // the text form, cut short
                Bytes bytes =
                    bytesOf(platform::PropertyList::toXml(*KeyedArchive::archivedRootObject(
                        *FileMessage::CreateMessageForHelperToExcludeRemovedPaths(
                             std::vector<std::string>{"/Applications/zz-hostile.app"})
                             ->data())));
                bytes.resize(below(bytes.size()));
                return writeFile(path, bytes);
            }
            case 5: {  // now and then far deeper than any parser should recurse
                const std::size_t depth = i % 1024 == 5 ? 100000 : 300 + below(3000);
                return writeFile(path, deepXml(depth, i % 3 != 0));
            }
            case 6:
                return writeFile(path,
                                 deepArchive(i % 512 == 6 ? 20000 : 10 + below(400), i % 2 == 0));
            case 7: {  // well-formed archives of the wrong shape
                ArchivedObject::Dictionary wrongCommand{{"command", PlistValue(std::int64_t{42})}};
                ArchivedObject::Dictionary wrongPaths{{"command", "exclude-paths"},
                                                      {"paths", "/Applications/zz.app"}};
                ArchivedObject::Dictionary mixedPaths{
                    {"command", "exclude-paths"},
                    {"paths", ArchivedObject::Array{PlistValue(std::int64_t{7}),
                                                    ArchivedObject::Dictionary{},
                                                    "/Applications/zz-mixed.app"}}};
                const std::vector<ArchivedObject> shapes = {
                    ArchivedObject("exclude-paths"),
                    ArchivedObject(PlistValue(3.5)),
                    ArchivedObject(ArchivedObject::Array{"clear-exclude-paths"}),
                    ArchivedObject(wrongCommand),
                    ArchivedObject(wrongPaths),
                    ArchivedObject(mixedPaths)};
                return writeFile(
                    path, KeyedArchive::archivedDataWithRootObject(shapes[below(shapes.size())]));
            }
            case 8: {  // counts and lengths no file could hold
                const std::uint8_t markers[] = {0xA0, 0xD0, 0x50, 0x60, 0x40};
                const std::uint64_t counts[] = {~std::uint64_t{0}, std::uint64_t{1} << 62,
                                                std::uint64_t{1} << 40, 0x7FFFFFFF};
                return writeFile(
                    path, absurdBinary(markers[below(5)], counts[below(4)], counts[below(4)]));
            }
            case 9: {  // an exclude command with many paths
                std::vector<std::string> paths(i % 1024 == 9 ? 50000 : 10 + below(200));
                for (std::size_t n = 0; n < paths.size(); ++n) {
                    paths[n] = "/Applications/zz-many-" + std::to_string(n) + ".app";
                }
                return writeFile(path, excludeCommand(paths));
            }
            case 10: {  // links: to a precious file, a folder, a device, nowhere, themselves
                const std::string targets[] = {m_folder + "/victims/precious.txt",
                                               m_folder + "/victims/folder", "/dev/zero",
                                               m_folder + "/victims/missing", path};
                return ::symlink(targets[below(5)].c_str(), path.c_str()) == 0;
            }
            case 11:
                if (i % 64 == 11) return ::mkfifo(path.c_str(), 0600) == 0;
                return writeFile(path, {});
            case 12: {  // larger than any command may be; sparse, so cheap to make
                if (i % 512 != 12) return writeFile(path, randomBytes(1));
                if (!writeFile(path, {})) return false;
                std::error_code error;
                std::filesystem::resize_file(path, std::uintmax_t{80} << 20, error);
                return !error;
            }
            case 13:
                return writeFile(path, bytesOf("<?xml version=\"1.0\"?><plist><string>" +
                                               std::string(below(4096), '&') + "</plist>"));
            case 14:
                return writeFile(path, clearCommand());
            default: {  // harmless good commands among the rest
                return writeFile(
                    path,
                    excludeCommand({"/Applications/zz-good-" + std::to_string(i) + ".app", ""}));
            }
        }
    }

    std::string m_folder;
    std::mt19937 m_random;
};

int usage() {
    std::fputs(
        "usage: e2e_command_files exclude FILE PATH... | clear FILE |"
        " hostile FOLDER COUNT SEED\n",
        stderr);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() >= 2 && arguments[0] == "exclude") {
        const std::vector<std::string> paths(arguments.begin() + 2, arguments.end());
        return writeFile(arguments[1], excludeCommand(paths)) ? 0 : 1;
    }
    if (arguments.size() == 2 && arguments[0] == "clear") {
        return writeFile(arguments[1], clearCommand()) ? 0 : 1;
    }
    if (arguments.size() == 4 && arguments[0] == "hostile") {
        const int count = std::stoi(arguments[2]);
        const auto seed = static_cast<std::uint32_t>(std::stoul(arguments[3]));
        return HostileMaker(arguments[1], seed).make(count) ? 0 : 1;
    }
    return usage();
}
