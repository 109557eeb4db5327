#include "platform/AppImage.h"

#include <fcntl.h>
#include <sqfs/compressor.h>
#include <sqfs/data_reader.h>
#include <sqfs/dir.h>
#include <sqfs/error.h>
#include <sqfs/inode.h>
#include <sqfs/io.h>
#include <sqfs/meta_reader.h>
#include <sqfs/super.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <deque>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>

#include "platform/FileSystem.h"
#include "platform/Log.h"
#include "platform/XmlTag.h"

namespace platform {

namespace {

constexpr std::string_view kLogCategory = "appimage";
// 16 MiB of fragment entries: far more than an application's image has.
constexpr std::uint64_t kMaxFragments = 1 << 20;
// What an inode may say before the library allocates for it: a link target
// of PATH_MAX, a block list of 1 MiB, a folder index of 1024 entries.
constexpr std::uint64_t kMaxLinkTarget = 4096;
constexpr std::uint64_t kMaxFileBlocks = 256 * 1024;
constexpr std::uint64_t kMaxFolderIndex = 1024;

// O_NONBLOCK: a FIFO put where a file was expected must not hold the open.
UniqueFd openRegularFile(const std::string& path, std::uint64_t& size) {
    UniqueFd fd(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (!fd || ::fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) return UniqueFd();
    size = static_cast<std::uint64_t>(status.st_size);
    return fd;
}

bool readExactly(int fd, std::uint64_t offset, void* buffer, std::size_t size) {
    auto* bytes = static_cast<std::uint8_t*>(buffer);
    while (size > 0) {
        const ssize_t got = ::pread(fd, bytes, size, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        bytes += got;
        offset += static_cast<std::uint64_t>(got);
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

bool hasTypeTwoMark(int fd, std::uint64_t fileSize) {
    std::array<std::uint8_t, 11> head{};
    if (fileSize < head.size() || !readExactly(fd, 0, head.data(), head.size())) return false;
    return head[0] == 0x7f && head[1] == 'E' && head[2] == 'L' && head[3] == 'F' &&
           head[8] == 'A' && head[9] == 'I' && head[10] == 0x02;
}

// Reads fixed-size integers of either byte order from an ELF buffer.
class ByteFields {
public:
    ByteFields(const std::uint8_t* bytes, bool bigEndian)
        : m_pBytes(bytes), m_bBigEndian(bigEndian) {}
    std::uint64_t get(std::size_t at, std::size_t width) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < width; ++i) {
            const std::size_t index = m_bBigEndian ? at + i : at + width - 1 - i;
            value = (value << 8) | m_pBytes[index];
        }
        return value;
    }

private:
    const std::uint8_t* m_pBytes;
    bool m_bBigEndian;
};

bool endWithin(std::uint64_t start, std::uint64_t length, std::uint64_t fileSize,
               std::uint64_t& end) {
    return !__builtin_add_overflow(start, length, &end) && end <= fileSize;
}

// The end of the ELF program: what the runtime itself computes to find its image.
std::optional<std::uint64_t> elfEnd(int fd, std::uint64_t fileSize) {
    std::array<std::uint8_t, 64> header{};
    if (fileSize < 52 || !readExactly(fd, 0, header.data(), std::min<std::uint64_t>(64, fileSize)))
        return std::nullopt;
    const std::uint8_t elfClass = header[4];
    const std::uint8_t byteOrder = header[5];
    if ((elfClass != 1 && elfClass != 2) || (byteOrder != 1 && byteOrder != 2)) return std::nullopt;
    const bool is64 = elfClass == 2;
    if (is64 && fileSize < 64) return std::nullopt;
    const ByteFields elf(header.data(), byteOrder == 2);
    const std::uint64_t tableOffset = is64 ? elf.get(0x28, 8) : elf.get(0x20, 4);
    const std::uint64_t entrySize = is64 ? elf.get(0x3a, 2) : elf.get(0x2e, 2);
    const std::uint64_t entryCount = is64 ? elf.get(0x3c, 2) : elf.get(0x30, 2);
    const std::uint64_t minimumEntrySize = is64 ? 64 : 40;
    if (entryCount == 0 || entrySize < minimumEntrySize) return std::nullopt;

    // Both factors fit in 16 bits: the product cannot overflow.
    const std::uint64_t tableSize = entrySize * entryCount;
    std::uint64_t end = 0;
    if (!endWithin(tableOffset, tableSize, fileSize, end)) return std::nullopt;
    std::vector<std::uint8_t> table(static_cast<std::size_t>(tableSize));
    if (!readExactly(fd, tableOffset, table.data(), table.size())) return std::nullopt;

    constexpr std::uint64_t kNoBits = 8;  // SHT_NOBITS: takes no room in the file
    for (std::uint64_t i = 0; i < entryCount; ++i) {
        const ByteFields section(table.data() + i * entrySize, byteOrder == 2);
        const std::uint64_t type = section.get(4, 4);
        const std::uint64_t offset = is64 ? section.get(0x18, 8) : section.get(0x10, 4);
        const std::uint64_t size = is64 ? section.get(0x20, 8) : section.get(0x14, 4);
        if (type == 0 || type == kNoBits) continue;
        std::uint64_t sectionEnd = 0;
        if (!endWithin(offset, size, fileSize, sectionEnd)) return std::nullopt;
        end = std::max(end, sectionEnd);
    }
    return end;
}

std::optional<std::uint64_t> imageOffsetOf(int fd, std::uint64_t fileSize) {
    if (!hasTypeTwoMark(fd, fileSize)) return std::nullopt;
    const auto offset = elfEnd(fd, fileSize);
    std::array<char, 4> magic{};
    std::uint64_t magicEnd = 0;
    if (!offset || !endWithin(*offset, magic.size(), fileSize, magicEnd) ||
        !readExactly(fd, *offset, magic.data(), magic.size()) ||
        std::string_view(magic.data(), magic.size()) != "hsqs")
        return std::nullopt;
    return offset;
}

// The image as the squashfs library sees it: the file from the image's first
// byte on, read-only, and refusing once the byte budget or the time is spent
// (every table and block the library wants passes through here).
struct ShiftedImage {
    sqfs_file_t file{};
    int fd = -1;
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    std::uint64_t budget = 0;
    std::chrono::steady_clock::time_point deadline;

    static ShiftedImage* of(sqfs_file_t* file) { return reinterpret_cast<ShiftedImage*>(file); }

    static int readAt(sqfs_file_t* file, sqfs_u64 at, void* buffer, std::size_t length) {
        ShiftedImage& image = *of(file);
        std::uint64_t end = 0;
        if (!endWithin(at, length, image.size, end)) return SQFS_ERROR_OUT_OF_BOUNDS;
        if (length > image.budget || std::chrono::steady_clock::now() > image.deadline)
            return SQFS_ERROR_IO;
        image.budget -= length;
        return readExactly(image.fd, image.offset + at, buffer, length) ? 0 : SQFS_ERROR_IO;
    }
    static int writeAt(sqfs_file_t*, sqfs_u64, const void*, std::size_t) {
        return SQFS_ERROR_UNSUPPORTED;
    }
    static sqfs_u64 getSize(const sqfs_file_t* file) {
        return reinterpret_cast<const ShiftedImage*>(file)->size;
    }
    static int truncate(sqfs_file_t*, sqfs_u64) { return SQFS_ERROR_UNSUPPORTED; }
    // Lives on the reader's stack: the library never owns it.
    static void destroy(sqfs_object_t*) {}

    ShiftedImage() {
        file.base.destroy = &destroy;
        file.read_at = &readAt;
        file.write_at = &writeAt;
        file.get_size = &getSize;
        file.truncate = &truncate;
    }
};
static_assert(std::is_standard_layout_v<ShiftedImage>);

struct DestroyObject {
    void operator()(void* object) const { sqfs_destroy(object); }
};
struct FreeMemory {
    void operator()(void* memory) const { sqfs_free(memory); }
};
using Inode = std::unique_ptr<sqfs_inode_generic_t, FreeMemory>;

bool isDirectory(const sqfs_inode_generic_t& inode) {
    return inode.base.type == SQFS_INODE_DIR || inode.base.type == SQFS_INODE_EXT_DIR;
}
bool isFile(const sqfs_inode_generic_t& inode) {
    return inode.base.type == SQFS_INODE_FILE || inode.base.type == SQFS_INODE_EXT_FILE;
}
bool isLink(const sqfs_inode_generic_t& inode) {
    return inode.base.type == SQFS_INODE_SLINK || inode.base.type == SQFS_INODE_EXT_SLINK;
}
std::string_view linkTarget(const sqfs_inode_generic_t& inode) {
    const std::uint32_t size = inode.base.type == SQFS_INODE_SLINK
                                   ? inode.data.slink.target_size
                                   : inode.data.slink_ext.target_size;
    return {reinterpret_cast<const char*>(inode.extra), size};
}

void splitInto(std::string_view path, std::deque<std::string>& parts, bool atFront) {
    std::vector<std::string> split;
    std::size_t start = 0;
    while (start <= path.size()) {
        const std::size_t slash = std::min(path.find('/', start), path.size());
        if (slash > start) split.emplace_back(path.substr(start, slash - start));
        start = slash + 1;
    }
    if (atFront)
        parts.insert(parts.begin(), split.begin(), split.end());
    else
        parts.insert(parts.end(), split.begin(), split.end());
}

bool endsWith(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

AppImage::IconType iconTypeOf(const std::vector<std::uint8_t>& bytes) {
    static constexpr std::array<std::uint8_t, 8> kPng{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    if (bytes.size() >= kPng.size() && std::equal(kPng.begin(), kPng.end(), bytes.begin()))
        return AppImage::IconType::Png;
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()),
                                std::min<std::size_t>(bytes.size(), 4096));
    std::size_t start = text.substr(0, 3) == "\xef\xbb\xbf" ? 3 : 0;
    start = text.find_first_not_of(" \t\r\n", start);
    if (start != std::string_view::npos && text[start] == '<' &&
        text.find("<svg", start) != std::string_view::npos)
        return AppImage::IconType::Svg;
    return AppImage::IconType::Unknown;
}

std::string decodeEntities(std::string_view text) {
    static constexpr std::array<std::pair<std::string_view, char>, 5> kEntities{
        {{"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}}};
    std::string decoded;
    for (std::size_t i = 0; i < text.size();) {
        bool replaced = false;
        for (const auto& [entity, c] : kEntities) {
            if (text.substr(i, entity.size()) == entity) {
                decoded += c;
                i += entity.size();
                replaced = true;
                break;
            }
        }
        if (!replaced) decoded += text[i++];
    }
    return decoded;
}

bool isAppStreamId(std::string_view id) {
    return !id.empty() && id.size() <= 255 && id.front() != '.' &&
           std::all_of(id.begin(), id.end(), [](char c) {
               return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                      c == '.' || c == '-' || c == '_';
           });
}

// The text of the `<id>` child of a metainfo file's root `<component>`; a
// small scan of tags, no XML library: deeper `<id>`s (as under `<provides>`)
// are not the component's.
std::string componentId(std::string_view xml) {
    int depth = 0;
    bool rootIsComponent = false;
    for (std::size_t at = xml.find('<'); at != std::string_view::npos; at = xml.find('<', at)) {
        const std::string_view rest = xml.substr(at);
        std::size_t end = std::string_view::npos;
        if (rest.substr(0, 4) == "<!--") {
            end = xml.find("-->", at + 4);
            if (end != std::string_view::npos) end += 2;
        } else if (rest.substr(0, 9) == "<![CDATA[") {
            end = xml.find("]]>", at + 9);
            if (end != std::string_view::npos) end += 2;
        } else if (rest.substr(0, 2) == "<?" || rest.substr(0, 2) == "<!") {
            end = xmlTagEnd(xml, at);
        } else if (rest.substr(0, 2) == "</") {
            end = xmlTagEnd(xml, at);
            if (--depth < 0) return {};
        } else {
            end = xmlTagEnd(xml, at);
            if (end == std::string_view::npos) return {};
            const std::string_view tag = xml.substr(at + 1, end - at - 1);
            const std::string_view name = tag.substr(0, tag.find_first_of(" \t\r\n/"));
            const bool selfClosing = !tag.empty() && tag.back() == '/';
            if (depth == 0) rootIsComponent = name == "component";
            if (!rootIsComponent) return {};
            if (depth == 1 && name == "id" && !selfClosing) {
                const std::size_t textEnd = xml.find('<', end + 1);
                if (textEnd == std::string_view::npos) return {};
                std::string id = decodeEntities(xml.substr(end + 1, textEnd - end - 1));
                const std::size_t first = id.find_first_not_of(" \t\r\n");
                const std::size_t last = id.find_last_not_of(" \t\r\n");
                id =
                    first == std::string::npos ? std::string() : id.substr(first, last - first + 1);
                return isAppStreamId(id) ? id : std::string();
            }
            if (!selfClosing) ++depth;
        }
        if (end == std::string_view::npos) return {};
        at = end + 1;
    }
    return {};
}

// One reading of one image: the library's objects, the budgets, and the first
// reason something was refused (for the one log line).
class ImageReader {
public:
    ImageReader(int fd, std::uint64_t offset, std::uint64_t fileSize,
                const AppImage::Limits& limits)
        : m_limits(limits) {
        m_image.fd = fd;
        m_image.offset = offset;
        m_image.size = fileSize - offset;
        m_image.budget = limits.maxBytesRead;
        m_image.deadline = std::chrono::steady_clock::now() + limits.deadline;
    }

    bool open() {
        sqfs_super_t& super = m_super;
        int error = sqfs_super_read(&super, &m_image.file);
        if (error != 0) return refuse("its image has no valid superblock", error);
        // The library sizes its fragment table from the count before reading
        // it: a count no image of this size could hold must not get that far.
        const std::uint64_t fragmentIndexBytes = (super.fragment_entry_count + 511) / 512 * 8;
        if (super.bytes_used > m_image.size ||
            super.fragment_entry_count >
                std::min<std::uint64_t>(kMaxFragments, super.inode_count) ||
            (super.fragment_entry_count > 0 &&
             (super.fragment_table_start > super.bytes_used ||
              fragmentIndexBytes > super.bytes_used - super.fragment_table_start)))
            return refuse("its image's superblock does not fit the file", SQFS_ERROR_CORRUPTED);
        m_image.size = super.bytes_used;
        sqfs_compressor_config_t config{};
        error =
            sqfs_compressor_config_init(&config, static_cast<SQFS_COMPRESSOR>(super.compression_id),
                                        super.block_size, SQFS_COMP_FLAG_UNCOMPRESS);
        sqfs_compressor_t* compressor = nullptr;
        if (error == 0) error = sqfs_compressor_create(&config, &compressor);
        if (error != 0)
            return refuse("its image's compression (" + std::to_string(super.compression_id) +
                              ") cannot be read",
                          error);
        m_pCompressor.reset(compressor);
        if ((super.flags & SQFS_FLAG_COMPRESSOR_OPTIONS) != 0) {
            error = compressor->read_options(compressor, &m_image.file);
            if (error != 0) return refuse("its image's compressor options cannot be read", error);
        }
        m_pInodes.reset(sqfs_meta_reader_create(&m_image.file, compressor, super.inode_table_start,
                                                super.directory_table_start));
        m_pDirectories.reset(sqfs_meta_reader_create(
            &m_image.file, compressor, super.directory_table_start, super.bytes_used));
        m_pData.reset(sqfs_data_reader_create(&m_image.file, super.block_size, compressor, 0));
        if (!m_pInodes || !m_pDirectories || !m_pData)
            return refuse("out of memory", SQFS_ERROR_ALLOC);
        error = sqfs_data_reader_load_fragment_table(m_pData.get(), &super);
        if (error != 0) return refuse("its image's fragment table cannot be read", error);
        return true;
    }

    // The names in the image's root that matter: the desktop entries
    // and whether there is a `.DirIcon`. False when the root cannot be listed.
    bool listRoot(std::vector<std::string>& desktopFiles, bool& hasDirIcon) {
        Inode root = rootInode();
        hasDirIcon = false;
        return root && forEachEntry(*root, [&](std::string_view name) {
                   if (name == ".DirIcon") hasDirIcon = true;
                   if (endsWith(name, ".desktop") && name.size() > 8)
                       desktopFiles.emplace_back(name);
                   return true;
               });
    }

    // The regular file at `path` (from the root; links followed only while
    // they stay in the image), if it is at most `limit` bytes.
    std::optional<std::string> readFile(std::string_view path, std::size_t limit,
                                        std::string_view what) {
        Inode inode = resolve(path);
        if (!inode) return std::nullopt;
        sqfs_u64 size = 0;
        if (!isFile(*inode) || sqfs_inode_get_file_size(inode.get(), &size) != 0)
            return refused(std::string(what) + " is not a regular file");
        if (size > limit)
            return refused(std::string(what) + " is larger than " + std::to_string(limit) +
                           " bytes");
        std::string bytes(static_cast<std::size_t>(size), '\0');
        for (std::size_t done = 0; done < bytes.size();) {
            const sqfs_s32 got =
                sqfs_data_reader_read(m_pData.get(), inode.get(), done, bytes.data() + done,
                                      static_cast<sqfs_u32>(bytes.size() - done));
            if (got <= 0) {
                refuse(std::string(what) + " cannot be read", got < 0 ? got : SQFS_ERROR_IO);
                return std::nullopt;
            }
            done += static_cast<std::size_t>(got);
        }
        return bytes;
    }

    // The names of the regular files and links in the folder at `path`.
    std::vector<std::string> listFolder(std::string_view path) {
        std::vector<std::string> names;
        Inode folder = resolve(path, /*quiet*/ true);
        if (folder && isDirectory(*folder)) {
            forEachEntry(*folder, [&](std::string_view name) {
                names.emplace_back(name);
                return true;
            });
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    const std::string& refusal() const { return m_sRefusal; }

private:
    Inode rootInode() {
        Inode root = readInode(m_super.root_inode_ref);
        if (!root || !isDirectory(*root)) {
            refuse("its image's root cannot be read", SQFS_ERROR_CORRUPTED);
            return nullptr;
        }
        return root;
    }

    // The library sizes an inode from what the inode says (a file's block
    // list, a link's target, a folder's index) before it reads it; those
    // counts are looked at first, so that a forged one cannot ask for
    // gigabytes.
    bool inodeSizesAreSane(std::uint64_t block, std::size_t offset) {
        std::array<std::uint8_t, 16 + 40> raw{};
        if (sqfs_meta_reader_seek(m_pInodes.get(), m_super.inode_table_start + block, offset) !=
                0 ||
            sqfs_meta_reader_read(m_pInodes.get(), raw.data(), 16) != 0)
            return false;
        const ByteFields fields(raw.data(), false);
        const auto type = fields.get(0, 2);
        const std::size_t extra = type == SQFS_INODE_SLINK || type == SQFS_INODE_EXT_SLINK ? 8
                                  : type == SQFS_INODE_FILE                                ? 16
                                  : type == SQFS_INODE_EXT_FILE                            ? 40
                                  : type == SQFS_INODE_EXT_DIR                             ? 24
                                                                                           : 0;
        if (extra > 0 && sqfs_meta_reader_read(m_pInodes.get(), raw.data() + 16, extra) != 0)
            return false;
        const std::uint64_t blockSize = std::max<std::uint64_t>(m_super.block_size, 4096);
        switch (type) {
            case SQFS_INODE_SLINK:
            case SQFS_INODE_EXT_SLINK:
                return fields.get(16 + 4, 4) <= kMaxLinkTarget;
            case SQFS_INODE_FILE:
                return fields.get(16 + 12, 4) / blockSize <= kMaxFileBlocks;
            case SQFS_INODE_EXT_FILE:
                return fields.get(16 + 8, 8) / blockSize <= kMaxFileBlocks;
            case SQFS_INODE_EXT_DIR:
                return fields.get(16 + 16, 2) <= kMaxFolderIndex;
            default:
                return true;
        }
    }

    Inode readInode(sqfs_u64 reference) {
        const std::uint64_t block = reference >> 16;
        const std::size_t offset = reference & 0xffff;
        if (!inodeSizesAreSane(block, offset)) {
            refuse("an inode of its image is damaged or too large", SQFS_ERROR_CORRUPTED);
            return nullptr;
        }
        sqfs_inode_generic_t* inode = nullptr;
        const int error =
            sqfs_meta_reader_read_inode(m_pInodes.get(), &m_super, block, offset, &inode);
        Inode owned(inode);
        if (error != 0) {
            refuse("an inode of its image cannot be read", error);
            return nullptr;
        }
        return owned;
    }

    // Calls `visit(name)` for each entry of the folder until it answers
    // false; `found`, when set, receives the inode of the entry visited last.
    // False when the listing fails or the entry budget runs out.
    template <typename Visit>
    bool forEachEntry(const sqfs_inode_generic_t& folder, Visit visit, Inode* found = nullptr) {
        sqfs_readdir_state_t state{};
        if (sqfs_readdir_state_init(&state, &m_super, &folder) != 0)
            return refuse("a folder of its image cannot be read", SQFS_ERROR_CORRUPTED);
        for (;;) {
            sqfs_dir_entry_t* raw = nullptr;
            sqfs_u32 number = 0;
            sqfs_u64 reference = 0;
            const int error =
                sqfs_meta_reader_readdir(m_pDirectories.get(), &state, &raw, &number, &reference);
            std::unique_ptr<sqfs_dir_entry_t, FreeMemory> entry(raw);
            if (error > 0) return true;
            if (error < 0 || !entry) return refuse("a folder of its image cannot be read", error);
            if (++m_nEntriesSeen > m_limits.maxDirectoryEntries)
                return refuse("its image has more than " +
                                  std::to_string(m_limits.maxDirectoryEntries) +
                                  " entries where they were looked for",
                              SQFS_ERROR_OVERFLOW);
            // The name is stored one short of its length, with no NUL.
            const std::string_view name(reinterpret_cast<const char*>(entry->name),
                                        std::size_t{entry->size} + 1);
            if (name.find('/') != std::string_view::npos ||
                name.find('\0') != std::string_view::npos)
                continue;
            if (!visit(name)) {
                if (found) *found = readInode(reference);
                return true;
            }
        }
    }

    Inode child(const sqfs_inode_generic_t& folder, const std::string& name) {
        Inode found;
        forEachEntry(
            folder, [&](std::string_view entry) { return entry != name; }, &found);
        return found;
    }

    // Resolves `path` from the root one name at a time. A link is followed
    // only when its target is relative and stays inside the image, at most
    // maxLinkHops times (a loop runs into that).
    Inode resolve(std::string_view path, bool quiet = false) {
        std::vector<Inode> folders;
        folders.push_back(rootInode());
        if (!folders.back()) return nullptr;
        std::deque<std::string> pending;
        splitInto(path, pending, false);
        int hops = 0;
        while (!pending.empty()) {
            const std::string name = std::move(pending.front());
            pending.pop_front();
            if (name == ".") continue;
            if (name == "..") {
                if (folders.size() == 1) return lost("a link leads out of its image", quiet);
                folders.pop_back();
                continue;
            }
            Inode inode = child(*folders.back(), name);
            if (!inode) return nullptr;
            if (isLink(*inode)) {
                const std::string_view target = linkTarget(*inode);
                if (++hops > m_limits.maxLinkHops)
                    return lost("its image has a chain or loop of links", quiet);
                if (target.empty() || target.front() == '/' ||
                    target.find('\0') != std::string_view::npos)
                    return lost("a link leads out of its image", quiet);
                splitInto(target, pending, true);
                continue;
            }
            if (pending.empty()) return inode;
            if (!isDirectory(*inode)) return nullptr;
            folders.push_back(std::move(inode));
        }
        return std::move(folders.back());
    }

    bool refuse(std::string why, int error) {
        if (m_sRefusal.empty()) m_sRefusal = std::move(why) + " (" + std::to_string(error) + ")";
        return false;
    }
    std::nullopt_t refused(std::string why) {
        if (m_sRefusal.empty()) m_sRefusal = std::move(why);
        return std::nullopt;
    }
    // A name that cannot be resolved; `quiet` when its absence is normal.
    Inode lost(std::string why, bool quiet) {
        if (!quiet) refused(std::move(why));
        return nullptr;
    }

    const AppImage::Limits& m_limits;
    ShiftedImage m_image;
    // The readers keep a pointer to it.
    sqfs_super_t m_super{};
    std::unique_ptr<sqfs_compressor_t, DestroyObject> m_pCompressor;
    std::unique_ptr<sqfs_meta_reader_t, DestroyObject> m_pInodes;
    std::unique_ptr<sqfs_meta_reader_t, DestroyObject> m_pDirectories;
    std::unique_ptr<sqfs_data_reader_t, DestroyObject> m_pData;
    std::size_t m_nEntriesSeen = 0;
    std::string m_sRefusal;
};

}  // namespace

bool AppImage::isAppImage(const std::string& path) {
    std::uint64_t size = 0;
    const UniqueFd fd = openRegularFile(path, size);
    return fd && hasTypeTwoMark(fd.get(), size);
}

std::optional<std::uint64_t> AppImage::imageOffset(const std::string& path) {
    std::uint64_t size = 0;
    const UniqueFd fd = openRegularFile(path, size);
    if (!fd) return std::nullopt;
    return imageOffsetOf(fd.get(), size);
}

std::optional<AppImage::Identity> AppImage::readIdentity(const std::string& path,
                                                         const Limits& limits) {
    std::uint64_t size = 0;
    const UniqueFd fd = openRegularFile(path, size);
    if (!fd || !hasTypeTwoMark(fd.get(), size)) return std::nullopt;
    const auto offset = imageOffsetOf(fd.get(), size);
    if (!offset) {
        Log::warning(kLogCategory, path + ": no squashfs image where its ELF part ends");
        return std::nullopt;
    }

    ImageReader reader(fd.get(), *offset, size, limits);
    std::vector<std::string> desktopFiles;
    bool hasDirIcon = false;
    if (!reader.open() || !reader.listRoot(desktopFiles, hasDirIcon)) {
        Log::warning(kLogCategory, path + ": " + reader.refusal());
        return std::nullopt;
    }
    Identity identity;
    std::sort(desktopFiles.begin(), desktopFiles.end());
    if (desktopFiles.size() == 1) {
        if (auto bytes = reader.readFile(desktopFiles.front(), limits.maxDesktopFileBytes,
                                         "its desktop entry")) {
            identity.desktopFileName = desktopFiles.front();
            identity.desktopFile = std::move(*bytes);
        }
    }
    if (hasDirIcon) {
        if (auto bytes = reader.readFile(".DirIcon", limits.maxIconBytes, "its icon")) {
            identity.icon.assign(bytes->begin(), bytes->end());
            identity.iconType = iconTypeOf(identity.icon);
        }
    }
    for (const std::string_view folder : {"usr/share/metainfo", "usr/share/appdata"}) {
        for (const std::string& name : reader.listFolder(folder)) {
            if (!endsWith(name, ".xml")) continue;
            const auto xml = reader.readFile(std::string(folder) + "/" + name,
                                             limits.maxMetainfoBytes, "its metainfo file");
            if (xml) identity.appStreamId = componentId(*xml);
            if (!identity.appStreamId.empty()) break;
        }
        if (!identity.appStreamId.empty()) break;
    }
    if (desktopFiles.size() > 1)
        Log::warning(kLogCategory, path + ": its image holds " +
                                       std::to_string(desktopFiles.size()) +
                                       " desktop entries; none is taken");
    else if (!reader.refusal().empty())
        Log::warning(kLogCategory, path + ": " + reader.refusal());
    return identity;
}

}  // namespace platform
