#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <regex>

#include "platform/TrashInfo.h"
#include "platform/TrashWriter.h"
#include "support/DataTable.h"
#include "support/Isolated.h"
#include "support/TempDir.h"

namespace {

using platform::TrashInfo;
using platform::TrashWriter;
using testsupport::exists;
using testsupport::modeOf;
using testsupport::readFile;

// Every "Path=" line of a record, one after the other.
std::string pathLines(const std::string& record) {
    std::string lines;
    for (std::size_t start = 0; start < record.size();) {
        const auto end = std::min(record.find('\n', start), record.size());
        if (record.compare(start, 5, "Path=") == 0) lines += record.substr(start, end - start);
        start = end + 1;
    }
    return lines;
}

// The test's own folders must need no escaping, so the rows can name the
// Path line whole.
bool isPlain(const std::string& path) {
    return path.find_first_not_of(
               "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~/") ==
           std::string::npos;
}

TEST(TrashWriter, RecordsEveryNameSoThatItReadsBackAsItWas) {
    testsupport::TempDir place;
    const std::string caches = place.makeDir("home/Library/Caches");
    ASSERT_TRUE(isPlain(caches));
    // No data folder yet: it is made, private, as a file manager makes it.
    const std::string trash = place / "home/.local/share/Trash";
    const TrashWriter writer(trash, {}, ::geteuid());
    const std::regex localTime(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d)");
    for (const auto& row : testsupport::readDataTable("TrashWriter/names.tsv")) {
        SCOPED_TRACE(testsupport::describeRow(row));
        const std::string path = place.writeFile("home/Library/Caches/" + row.at(0), row.at(0));
        const auto result = writer.moveToTrash(path);
        ASSERT_TRUE(result.moved) << result.why;
        EXPECT_FALSE(exists(path));
        EXPECT_EQ(result.where, trash + "/files/" + row.at(0));
        EXPECT_EQ(readFile(result.where), row.at(0));
        const std::string record = trash + "/info/" + row.at(0) + ".trashinfo";
        EXPECT_EQ(pathLines(readFile(record)), "Path=" + caches + "/" + row.at(1));
        EXPECT_EQ(modeOf(record), 0600U);
        const auto info = TrashInfo::readForItem(trash, row.at(0));
        ASSERT_TRUE(info);
        EXPECT_EQ(info->path, path);
        EXPECT_TRUE(std::regex_match(info->deletionDate, localTime)) << info->deletionDate;
    }
    for (const char* folder : {".local", ".local/share", ".local/share/Trash",
                               ".local/share/Trash/files", ".local/share/Trash/info"}) {
        EXPECT_EQ(modeOf(place / "home/" + folder), 0700U) << folder;
    }
}

// A name the Trash holds already is kept under the next free one; the record
// still gives each item its own original path.
TEST(TrashWriter, KeepsASecondItemOfOneNameUnderTheNextFreeName) {
    testsupport::TempDir place;
    const std::string trash = place / "Trash";
    const TrashWriter writer(trash, {}, ::geteuid());
    // An item that came without its record holds its name, too.
    place.writeFile("Trash/files/Stray.txt", "stray");
    const std::string longName(250, 'n');
    const struct {
        std::string name, firstStored, secondStored;
    } rows[] = {
        {"Notes.app", "Notes.app", "Notes.2.app"},
        {"a.tar.gz", "a.tar.gz", "a.2.tar.gz"},
        {"README", "README", "README.2"},
        {".hidden", ".hidden", ".hidden.2"},
        {"Stray.txt", "Stray.2.txt", "Stray.3.txt"},
        {longName, longName.substr(0, 237), longName.substr(0, 237) + ".2"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name.substr(0, 20));
        for (const auto& [folder, stored] :
             {std::pair{"Caches", row.firstStored}, std::pair{"Logs", row.secondStored}}) {
            const std::string path = place.writeFile(std::string(folder) + "/" + row.name, folder);
            const auto result = writer.moveToTrash(path);
            ASSERT_TRUE(result.moved) << result.why;
            EXPECT_EQ(result.where, trash + "/files/" + stored);
            EXPECT_EQ(readFile(result.where), folder);
            const auto info = TrashInfo::readForItem(trash, stored);
            ASSERT_TRUE(info);
            EXPECT_EQ(info->path, path);
        }
    }
    EXPECT_EQ(writer.moveToTrash(trash + "/files/Notes.app").why, "it is in the Trash already");
    EXPECT_EQ(readFile(trash + "/files/Stray.txt"), "stray");
    EXPECT_FALSE(exists(trash + "/info/Stray.txt.trashinfo"))
        << "the record of a failed move stays";
}

// Whatever stands in the way, the entry stays where it was, nothing lands
// anywhere else and no record is left behind.
TEST(TrashWriter, RefusesAnUnsafeOrMissingTrashAndLeavesEverythingInPlace) {
    for (const auto& row : testsupport::readDataTable("TrashWriter/refusals.tsv")) {
        SCOPED_TRACE(testsupport::describeRow(row));
        const std::string& plant = row.at(1);
        if (plant == "others" && ::geteuid() != 0) continue;
        testsupport::TempDir place;
        place.makeDir("elsewhere");
        place.writeFile("home/Library/Caches/x", "x");
        if (plant == "file") place.writeFile(row.at(2), "not a folder");
        if (plant == "link") place.makeSymlink(row.at(2), place / "elsewhere");
        if (plant == "folder") place.makeDir(row.at(2));
        if (plant == "open") ::chmod(place.makeDir(row.at(2)).c_str(), 0777);
        if (plant == "others") (void)::chown(place.makeDir(row.at(2)).c_str(), 65534, 65534);
        const std::string trash = place / "home/.local/share/Trash";
        const TrashWriter writer(plant == "no home" ? std::nullopt : std::optional(trash), {},
                                 ::geteuid());
        const auto result = writer.moveToTrash(place / row.at(3));
        EXPECT_FALSE(result.moved);
        EXPECT_EQ(result.why, row.at(4));
        EXPECT_EQ(readFile(place / "home/Library/Caches/x"), "x");
        EXPECT_TRUE(::rmdir((place / "elsewhere").c_str()) == 0) << "something went elsewhere";
        EXPECT_FALSE(exists(trash + "/files/x"));
        EXPECT_FALSE(exists(trash + "/info/x.trashinfo"));
        EXPECT_FALSE(exists(trash + "/info/Trash.trashinfo"));
    }
}

// An entry on another disk goes to that disk's own Trash, recorded relative
// to the disk's top, only when the caller trusts that Trash; else it stays.
TEST(TrashWriter, UsesADisksTrashOnlyWhenItIsTrusted) {
    testsupport::TempDir place;
    const std::string disk = place.makeDir("disk");
    const std::string homeTrash = place / "home/.local/share/Trash";
    const auto problem = testsupport::runIsolated([&]() -> std::string {
        if (::mount("trashtest", disk.c_str(), "tmpfs", 0, "size=1m,mode=0755") != 0) {
            return "no tmpfs";
        }
        const std::string diskTrash = disk + "/.Trash-" + std::to_string(::geteuid());
        if (::mkdir(diskTrash.c_str(), 0700) != 0 ||
            ::mkdir((diskTrash + "/files").c_str(), 0700)) {
            return "no disk Trash";
        }
        place.writeFile("disk/Library/half%25off", "on the disk");
        const std::string entry = disk + "/Library/half%25off";

        const TrashWriter untrusted(homeTrash, {}, ::geteuid());
        const auto refused = untrusted.moveToTrash(entry);
        if (refused.moved || refused.why != "it lies on another disk that has no Trash of yours") {
            return "moved without a trusted Trash: " + refused.where + refused.why;
        }
        if (readFile(entry) != "on the disk" || exists(homeTrash + "/files/half%25off")) {
            return "the refused entry moved";
        }

        const TrashWriter trusted(homeTrash, {{diskTrash, disk}}, ::geteuid());
        // Trusted once, but made unsafe since: nothing goes through the link.
        if (::symlink((disk + "/Library").c_str(), (diskTrash + "/info").c_str()) != 0) {
            return "no link";
        }
        if (trusted.moveToTrash(entry).why != "the Trash folder is a link or not only yours") {
            return "a link in a disk's Trash was used";
        }
        ::unlink((diskTrash + "/info").c_str());
        const auto result = trusted.moveToTrash(entry);
        if (!result.moved) return "not moved: " + result.why;
        if (result.where != diskTrash + "/files/half%25off" || exists(entry)) return "moved wrong";
        const auto record = readFile(diskTrash + "/info/half%25off.trashinfo");
        if (pathLines(record) != "Path=Library/half%2525off") return "recorded " + record;
        const auto info = TrashInfo::readForItem(diskTrash, "half%25off");
        if (!info || info->path != "Library/half%25off") return "reads back wrong";
        return "";
    });
    if (!problem) GTEST_SKIP() << "no mount namespace for a child";
    EXPECT_EQ(*problem, "");
}

}  // namespace
