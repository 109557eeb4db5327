#include <gtest/gtest.h>

#include <map>
#include <set>

#include "platform/DirectoryLister.h"
#include "platform/DirectoryReader.h"
#include "support/TempDir.h"
#include "support/faults/ReaddirFault.h"

namespace {

using platform::DirectoryLister;
using Status = DirectoryLister::Status;

TEST(DirectoryLister, SaysWhetherItSawEveryEntry) {
    testsupport::TempDir dir;
    for (const char* name : {"a", ".hidden", "sub/x", "c", "d"})
        dir.writeFile(std::string("folder/") + name);
    dir.makeSymlink("link", dir / "folder");
    dir.writeFile("file");
    const std::set<std::string> all = {"a", ".hidden", "sub", "c", "d"};

    struct Case {
        std::string path;
        Status status;
        bool allNames;
    };
    for (const Case& c :
         {Case{dir / "folder", Status::Complete, true},
          Case{dir / "link", Status::Complete, true},  // read through the link
          Case{dir / "missing", Status::Failed, false}, Case{dir / "file", Status::Failed, false},
          Case{"", Status::Failed, false}}) {
        SCOPED_TRACE(c.path);
        const auto listing = platform::DirectoryReader::disk()->list(c.path);
        EXPECT_EQ(listing.status, c.status);
        EXPECT_EQ(std::set<std::string>(listing.names.begin(), listing.names.end()),
                  c.allNames ? all : std::set<std::string>{});
    }

    // A read error part-way is a failure, not the end of the folder.
    {
        testsupport::ReaddirFault fault(dir / "folder", 4);
        const auto listing = DirectoryLister::contentsOfDirectoryAtPath(dir / "link");
        EXPECT_EQ(fault.failures(), 1);
        EXPECT_EQ(listing.status, Status::Failed);
        EXPECT_LT(listing.names.size(), all.size());
    }

    int visited = 0;
    EXPECT_EQ(DirectoryLister::forEachEntry(dir / "folder",
                                            [&](std::string_view) { return ++visited < 2; }),
              Status::Stopped);
    EXPECT_EQ(visited, 2);
}

// A walk takes the listing's word for what each entry is; a reader that
// only lists says it does not know.
TEST(DirectoryLister, TellsEachEntrysTypeWhereTheListingKnowsIt) {
    using Type = DirectoryLister::EntryType;
    testsupport::TempDir dir;
    dir.writeFile("folder/file");
    dir.makeDir("folder/sub");
    dir.makeSymlink("folder/link", dir / "folder/sub");
    struct OnlyLists final : platform::DirectoryReader {
        DirectoryLister::Listing list(const std::string& path) const override {
            return disk()->list(path);
        }
        std::optional<Entry> entryAt(const std::string&) const override { return std::nullopt; }
    };
    const OnlyLists onlyLists;
    struct Case {
        const platform::DirectoryReader& reader;
        std::map<std::string, Type> types;
    };
    for (const Case& c :
         {Case{*platform::DirectoryReader::disk(),
               {{"file", Type::Other}, {"sub", Type::Folder}, {"link", Type::SymbolicLink}}},
          Case{onlyLists,
               {{"file", Type::Unknown}, {"sub", Type::Unknown}, {"link", Type::Unknown}}}}) {
        std::map<std::string, Type> seen;
        EXPECT_EQ(c.reader.forEachEntry(dir / "folder",
                                        [&](std::string_view name, Type type) {
                                            seen.emplace(name, type);
                                            return true;
                                        }),
                  Status::Complete);
        EXPECT_EQ(seen, c.types);
    }
}

}  // namespace
