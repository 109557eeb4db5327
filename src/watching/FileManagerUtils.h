#pragma once

#include <functional>
#include <optional>
#include <string>

// File-manager conveniences used across the system: existence tests that
// count a dangling symbolic link as existing, the user's Trash, the locked
// flag, and unused temporary paths made of random names.
namespace FileManagerUtils {

// False for nil; true when the entry or, through a link, its target exists,
// or when the entry is a symbolic link at all (so a dangling link exists).
bool fileExistsWithoutTraversingSymbolicLinkAtPath(const std::optional<std::string>& path);
// As above, also telling whether it is a folder (a link to a folder is one; a
// dangling link is not); the flag is false whenever the answer is. A null
// flag pointer asks only whether it exists.
bool fileExistsWithoutTraversingSymbolicLinkAtPath(const std::optional<std::string>& path,
                                                   bool* isDirectory);

// Whether the entry at the path is itself a symbolic link; false for nil or
// when it cannot be examined.
bool isFileAtPathSymbolicLink(const std::optional<std::string>& path);

// The user's Trash: the desktop Trash's "files" folder under the XDG data
// folder ($XDG_DATA_HOME when absolute, else "<home>/.local/share" with the
// home from the password database), created when missing, with "/" appended.
// Empty (nil) when it cannot be had; the first non-empty answer is kept for
// the process.
std::string getTrashPath();
// The same under the given data folder, looked up (and created) each time.
std::string getTrashPath(const std::string& dataHome);

// Whether the path lies in a Trash folder, any of them (~/.Trash, the desktop
// Trash, a disk's; see TrashFolders). The second form asks whether it starts
// with the given Trash path (trailing "/" included, so the Trash folder itself
// is not in it). False for nil or when the Trash is not known.
bool isFileInTrash(const std::optional<std::string>& path);
bool isFileInTrash(const std::optional<std::string>& path, const std::string& trashPath);

// Whether the entry (not following a final link) carries the immutable flag;
// false for nil or when it cannot be examined.
bool isFileLocked(const std::optional<std::string>& path);

// A path in the private temporary folder ("/tmp" when there is none) that
// names nothing yet, not even a dangling link: a random name of 10
// characters, then 11, 12, ... while the candidates exist, with the extension
// appended when one is given. Nothing is created. Empty (nil) when the
// extension cannot be appended (it contains a "/").
std::string getTempFilePathWithExt(const std::optional<std::string>& ext);
// The same in the given folder, with names made by makeName(length).
std::string getTempFilePathWithExt(const std::optional<std::string>& ext,
                                   const std::string& baseFolder,
                                   const std::function<std::string(int length)>& makeName);

// A fresh folder from getTempFilePathWithExt (created with its parents; a
// failure is ignored) joined with the file name. The file is not created.
std::string getTempFilePathWithFileName(const std::string& fileName);

// A string of `length` characters drawn uniformly from the 62 ASCII letters
// and digits; empty for a length of 0 or less.
std::string randomStringWithLength(int length);
// The same from the given alphabet, read as UTF-8: each draw picks one whole
// code point (a byte that is not valid UTF-8 counts as one character), so a
// multi-byte alphabet gives `length` characters, not `length` bytes. Empty
// for an empty alphabet.
std::string randomStringWithLength(int length, const std::string& alfabet);

}  // namespace FileManagerUtils
