#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

// What a desktop Trash knows of one item of its "files" folder: the
// "info/<stored name>.trashinfo" file that the trashing program wrote. Another
// program (or another user, on a shared disk) may have written anything there,
// so the reader accepts only a small text with a "[Trash Info]" group whose
// Path is a well-formed percent-encoded path, and answers nothing otherwise.
struct TrashInfo {
    // Longer than any real one: a path of PATH_MAX bytes, every byte escaped.
    static constexpr std::size_t kMaxFileSize = 16 * 1024;

    // The decoded Path: absolute in the home Trash, relative to the top folder
    // of the file system in a mounted disk's Trash. Never empty, never with a
    // NUL byte.
    std::string path;
    // DeletionDate as written ("YYYY-MM-DDThh:mm:ss", local time); empty when
    // the file has none.
    std::string deletionDate;

    // nullopt unless the text is a whole, valid trash info.
    static std::optional<TrashInfo> parse(std::string_view text);

    // Reads "info/<storedName>.trashinfo" of the Trash folder `trashFolder`
    // (the one that holds "files" and "info"): a regular file of at most
    // kMaxFileSize bytes, never through a link. nullopt when it is missing,
    // not there yet, or not valid.
    static std::optional<TrashInfo> readForItem(const std::string& trashFolder,
                                                const std::string& storedName);

    // The name the item had before it was trashed: the last component of
    // the path. nullopt when that is no name an entry can have ("", ".", "..").
    std::optional<std::string> originalName() const;
};

}  // namespace platform
