#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/AppImage.h"
#include "support/DataTable.h"
#include "support/SampleAppImage.h"
#include "support/TempDir.h"

namespace {

using platform::AppImage;
using testsupport::ElfShape;

const std::string kDesktop = "[Desktop Entry]\nType=Application\nName=Foo\nExec=foo\n";
const std::string kPng = std::string("\x89PNG\r\n\x1a\n", 8) + "pixels";
const std::string kMetainfo =
    "<?xml version=\"1.0\"?>\n<!-- <id>in.a.comment</id> -->\n<component type=\"desktop\">\n"
    "<provides><id>not.the.component</id></provides>\n<id> org.example.Foo </id>\n</component>\n";
const std::string kMetainfoPath = "usr/share/metainfo/org.example.Foo.appdata.xml";

// A change to the AppDir: contents to write, "->target" for a link, "" to remove.
using Change = std::pair<std::string, std::string>;

// Packs a well-made AppDir, changed as said, behind the ELF part; "" when
// mksquashfs failed.
std::string packAppImage(const testsupport::TempDir& dir, const std::vector<Change>& changes = {},
                         const ElfShape& shape = {}, const std::string& compressor = "gzip") {
    std::vector<Change> all{{"foo.desktop", kDesktop},
                            {"usr/share/icons/foo.png", kPng},
                            {".DirIcon", "->usr/share/icons/foo.png"},
                            {kMetainfoPath, kMetainfo}};
    all.insert(all.end(), changes.begin(), changes.end());
    for (const auto& [relative, contents] : all) {
        const std::string path = "AppDir/" + relative;
        std::remove((dir / path).c_str());
        if (contents.rfind("->", 0) == 0)
            dir.makeSymlink(path, contents.substr(2));
        else if (!contents.empty())
            dir.writeFile(path, contents);
    }
    const std::string path = dir / "Foo-x86_64.AppImage";
    return testsupport::makeAppImage(dir / "AppDir", path, testsupport::sampleElf(shape),
                                     compressor)
               ? path
               : std::string();
}

class AppImageTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!testsupport::haveMksquashfs()) GTEST_SKIP() << "mksquashfs is not installed";
    }
};

// Each ELF class, byte order and order of parts, and each compressor
// mksquashfs offers (this library was built without lzo: nothing).
TEST_F(AppImageTest, FindsAndReadsTheImageAfterTheElfPart) {
    const std::vector<std::tuple<ElfShape, std::string, bool>> rows{
        {{true, false, false}, "gzip", true}, {{true, true, true}, "xz", true},
        {{false, false, true}, "zstd", true}, {{false, true, false}, "lz4", true},
        {{true, false, true}, "lzma", true},  {{false, true, true}, "lzo", false}};
    for (const auto& [shape, compressor, readable] : rows) {
        SCOPED_TRACE(compressor);
        testsupport::TempDir dir;
        const std::string path = packAppImage(dir, {}, shape, compressor);
        ASSERT_FALSE(path.empty());
        EXPECT_TRUE(AppImage::isAppImage(path));
        EXPECT_EQ(AppImage::imageOffset(path), testsupport::sampleElf(shape).size());
        const auto identity = AppImage::readIdentity(path);
        ASSERT_EQ(identity.has_value(), readable);
        if (!identity) continue;
        EXPECT_EQ(identity->desktopFile, kDesktop);
        EXPECT_EQ(std::string(identity->icon.begin(), identity->icon.end()), kPng);
        EXPECT_EQ(identity->appStreamId, "org.example.Foo");
    }
}

// ELF parts whose values point outside the file or that lead to no image;
// files that are none; never through a link, never waiting on a FIFO.
TEST_F(AppImageTest, RefusesWhatDoesNotHoldTogether) {
    const ElfShape s64{}, s32{false, true};
    const std::size_t end64 = testsupport::sampleElf(s64).size();
    // e_shoff of the 64-bit part, sh_size of the section with contents (after
    // the header, the contents and the null section's entry) in each.
    const auto put = [](std::size_t at, std::uint64_t value, std::size_t width, bool big) {
        return [=](std::string& b) { testsupport::putElfValue(b, at, value, width, big); };
    };
    const std::size_t shoff64 = 0x28, size64 = 64 + 200 + 64 + 0x20, size32 = 52 + 200 + 40 + 0x14;
    const std::vector<std::tuple<const char*, ElfShape, std::function<void(std::string&)>, bool>>
        rows{{"cut in the section table", s64, [=](auto& b) { b.resize(end64 - 30); }, true},
             {"cut in the header", s32, [](auto& b) { b.resize(40); }, true},
             {"section table past the end", s64, put(shoff64, 1u << 30, 8, false), true},
             {"section table offset overflows", s64, put(shoff64, ~0ull - 16, 8, false), true},
             {"32-bit section past the end", s32, put(size32, 0xffffff00u, 4, true), true},
             {"64-bit section size overflows", s64, put(size64, ~0ull, 8, false), true},
             {"no hsqs where it ends", s64, [=](auto& b) { b.insert(end64, "xxxx"); }, true},
             {"type 1", ElfShape{true, false, false, 1}, [](auto&) {}, false},
             {"not ELF", s64, [](auto& b) { b[1] = 'X'; }, false}};
    testsupport::TempDir dir;
    std::vector<std::tuple<std::string, std::string, bool>> files;
    for (const auto& [name, shape, damage, recognised] : rows) {
        std::string bytes = testsupport::readFile(packAppImage(dir, {}, shape));
        ASSERT_FALSE(bytes.empty());
        damage(bytes);
        files.emplace_back(name, dir.writeFile(name, bytes), recognised);
    }
    files.emplace_back("a link", dir.makeSymlink("Linked", packAppImage(dir)), false);
    ASSERT_EQ(::mkfifo((dir / "Fifo").c_str(), 0600), 0);
    for (const char* name : {"Fifo", "AppDir", "Missing"})
        files.emplace_back(name, dir / name, false);
    for (const auto& [name, path, recognised] : files) {
        SCOPED_TRACE(name);
        EXPECT_EQ(AppImage::isAppImage(path), recognised);
        EXPECT_FALSE(AppImage::imageOffset(path));
        EXPECT_FALSE(AppImage::readIdentity(path));
    }
}

// Each part is decided on its own: a hostile one is left out, the others are
// still read. Links are followed only while they stay inside the image.
TEST_F(AppImageTest, TakesOnlyWhatStaysInsideTheImageAndTheLimits) {
    const std::map<std::string, AppImage::IconType> icons{{"png", AppImage::IconType::Png},
                                                          {"svg", AppImage::IconType::Svg},
                                                          {"none", AppImage::IconType::Unknown}};
    for (const auto& row : testsupport::readDataTable("AppImage/parts.tsv")) {
        SCOPED_TRACE(testsupport::describeRow(row));
        ASSERT_GE(row.size(), 4u);
        std::vector<Change> changes;
        for (std::size_t i = 4; i + 1 < row.size(); i += 2) {
            std::string contents = row[i + 1];
            for (const auto& [token, value] : {std::pair{"$DESKTOP", kDesktop},
                                               {"$PNG", kPng},
                                               {"$PAD", std::string(600000, '#')}}) {
                if (const auto at = contents.find(token); at != std::string::npos)
                    contents.replace(at, std::string(token).size(), value);
            }
            changes.emplace_back(row[i], contents);
        }
        testsupport::TempDir dir;
        const std::string path = packAppImage(dir, changes);
        ASSERT_FALSE(path.empty());
        const auto identity = AppImage::readIdentity(path);
        ASSERT_TRUE(identity);
        EXPECT_EQ(identity->desktopFileName, row[1] == "yes" ? "foo.desktop" : "");
        EXPECT_EQ(identity->desktopFile, row[1] == "yes" ? kDesktop : "");
        EXPECT_EQ(identity->appStreamId, row[2]);
        EXPECT_EQ(identity->iconType, icons.at(row[3]));
        EXPECT_EQ(identity->icon.empty(), row[3] == "none");
    }
}

// An image it cannot finish within its limits, or one cut short, yields nothing.
TEST_F(AppImageTest, YieldsNothingForAnImageBeyondItsLimitsOrDamaged) {
    testsupport::TempDir dir;
    std::vector<Change> many;
    for (int i = 0; i < 40; ++i) many.emplace_back("file" + std::to_string(i), "x");
    const std::string path = packAppImage(dir, many);
    ASSERT_TRUE(AppImage::readIdentity(path));
    for (const auto& limits :
         {AppImage::Limits{.maxDirectoryEntries = 20}, AppImage::Limits{.maxBytesRead = 64},
          AppImage::Limits{.deadline = std::chrono::milliseconds(-1)}})
        EXPECT_FALSE(AppImage::readIdentity(path, limits));
    const auto elfSize = testsupport::sampleElf(ElfShape{}).size();
    ASSERT_EQ(::truncate(path.c_str(), static_cast<off_t>(elfSize + 200)), 0);
    EXPECT_TRUE(AppImage::isAppImage(path));
    EXPECT_FALSE(AppImage::readIdentity(path)) << "an image cut short";
}

}  // namespace
