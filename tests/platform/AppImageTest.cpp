#include <gtest/gtest.h>
#include <sys/stat.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/AppImage.h"
#include "support/SampleAppImage.h"
#include "support/TempDir.h"

namespace {

using platform::AppImage;
using testsupport::ElfShape;

const std::string kDesktop = "[Desktop Entry]\nType=Application\nName=Foo\nExec=foo\n";
const std::string kPng = std::string("\x89PNG\r\n\x1a\n", 8) + "pixels";
const std::string kMetainfo =
    "<?xml version=\"1.0\"?>\n<!-- <id>in.a.comment</id> -->\n"
    "<component type=\"desktop-application\">\n  <provides><id>not.the.component</id></provides>\n"
    "  <id> org.example.Foo </id>\n</component>\n";

// The AppDir of a well-made AppImage; rows change it before it is packed.
void writeAppDir(const testsupport::TempDir& dir) {
    dir.writeFile("AppDir/foo.desktop", kDesktop);
    dir.writeFile("AppDir/usr/share/icons/foo.png", kPng);
    dir.makeSymlink("AppDir/.DirIcon", "usr/share/icons/foo.png");
    dir.writeFile("AppDir/usr/share/metainfo/org.example.Foo.appdata.xml", kMetainfo);
    dir.writeFile("AppDir/usr/bin/foo", "#!/bin/sh\n");
}

// Packs the AppDir behind the ELF part; "" when mksquashfs failed.
std::string packAppImage(const testsupport::TempDir& dir, const ElfShape& shape,
                         const std::string& compressor = "gzip") {
    const std::string image = dir / "image.squashfs";
    const std::string path = dir / "Foo-x86_64.AppImage";
    if (!testsupport::makeSquashfs(dir / "AppDir", image, compressor) ||
        !testsupport::writeAppImage(path, testsupport::sampleElf(shape), image))
        return {};
    return path;
}

class AppImageTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!testsupport::haveMksquashfs()) GTEST_SKIP() << "mksquashfs is not installed";
    }
};

// The end of the ELF part, whatever its class, byte order and order of parts.
TEST_F(AppImageTest, FindsTheImageAfterTheElfPart) {
    for (const bool is64 : {true, false}) {
        for (const bool big : {false, true}) {
            for (const bool sectionLast : {false, true}) {
                const ElfShape shape{is64, big, sectionLast};
                SCOPED_TRACE(testing::Message() << "64-bit " << is64 << ", big-endian " << big
                                                << ", section last " << sectionLast);
                testsupport::TempDir dir;
                writeAppDir(dir);
                const std::string path = packAppImage(dir, shape);
                ASSERT_FALSE(path.empty());
                EXPECT_TRUE(AppImage::isAppImage(path));
                EXPECT_EQ(AppImage::imageOffset(path), testsupport::sampleElf(shape).size());
                const auto identity = AppImage::readIdentity(path);
                ASSERT_TRUE(identity);
                EXPECT_EQ(identity->desktopFileName, "foo.desktop");
                EXPECT_EQ(identity->desktopFile, kDesktop);
                EXPECT_EQ(std::string(identity->icon.begin(), identity->icon.end()), kPng);
                EXPECT_EQ(identity->iconType, AppImage::IconType::Png);
                EXPECT_EQ(identity->appStreamId, "org.example.Foo");
            }
        }
    }
}

// ELF parts whose values point outside the file, or no image where they end.
TEST_F(AppImageTest, RefusesAnElfPartThatDoesNotHoldTogether) {
    struct Row {
        const char* name;
        ElfShape shape;
        std::function<void(std::string&)> damage;
        bool recognised;
    };
    const auto put = [](const ElfShape& shape, std::size_t at, std::uint64_t value) {
        return [=](std::string& bytes) {
            testsupport::putElfValue(bytes, at, value, testsupport::elfLayout(shape).offsetWidth,
                                     shape.bigEndian);
        };
    };
    const ElfShape s64{}, s32{false, true};
    const auto l64 = testsupport::elfLayout(s64), l32 = testsupport::elfLayout(s32);
    const std::size_t elf64 = testsupport::sampleElf(s64).size();
    const std::vector<Row> rows{
        {"cut in the section table", s64, [=](std::string& b) { b.resize(elf64 - 30); }, true},
        {"cut in the header", s32, [](std::string& b) { b.resize(40); }, true},
        {"section table past the end", s64, put(s64, l64.tableOffsetField, 1u << 30), true},
        {"section table offset overflows", s64, put(s64, l64.tableOffsetField, ~0ull - 16), true},
        {"32-bit section past the end", s32, put(s32, l32.sectionSizeField, 0xffffff00u), true},
        {"64-bit section size overflows", s64, put(s64, l64.sectionSizeField, ~0ull), true},
        {"no hsqs where it ends", s64, [=](std::string& b) { b.insert(elf64, "xxxx"); }, true},
        {"type 1", ElfShape{true, false, false, 1}, nullptr, false},
        {"not ELF", s64, [](std::string& b) { b[1] = 'X'; }, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        testsupport::TempDir dir;
        writeAppDir(dir);
        const std::string path = packAppImage(dir, row.shape);
        ASSERT_FALSE(path.empty());
        std::string bytes = testsupport::readFile(path);
        if (row.damage) row.damage(bytes);
        dir.writeFile("Foo-x86_64.AppImage", bytes);
        EXPECT_EQ(AppImage::isAppImage(path), row.recognised);
        EXPECT_FALSE(AppImage::imageOffset(path));
        EXPECT_FALSE(AppImage::readIdentity(path));
    }
}

// Only a regular file is looked at: never through a link, never a FIFO.
TEST_F(AppImageTest, ReadsOnlyARegularFile) {
    testsupport::TempDir dir;
    writeAppDir(dir);
    const std::string path = packAppImage(dir, ElfShape{});
    ASSERT_FALSE(path.empty());
    dir.makeSymlink("Linked.AppImage", path);
    ASSERT_EQ(::mkfifo((dir / "Fifo.AppImage").c_str(), 0600), 0);
    for (const char* name : {"Linked.AppImage", "Fifo.AppImage", "AppDir", "Missing.AppImage"}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(AppImage::isAppImage(dir / name));
        EXPECT_FALSE(AppImage::imageOffset(dir / name));
        EXPECT_FALSE(AppImage::readIdentity(dir / name));
    }
}

// Every compressor mksquashfs offers; the ones this library was built
// without yield nothing.
TEST_F(AppImageTest, ReadsTheCompressorsTheLibraryHas) {
    const std::vector<std::pair<std::string, bool>> rows{
        {"gzip", true}, {"xz", true}, {"lz4", true}, {"zstd", true}, {"lzma", true},
        {"lzo", false}};
    for (const auto& [compressor, readable] : rows) {
        SCOPED_TRACE(compressor);
        testsupport::TempDir dir;
        writeAppDir(dir);
        const std::string path = packAppImage(dir, ElfShape{}, compressor);
        ASSERT_FALSE(path.empty());
        const auto identity = AppImage::readIdentity(path);
        ASSERT_EQ(identity.has_value(), readable);
        if (identity) {
            EXPECT_EQ(identity->desktopFile, kDesktop);
        }
    }
}

// What the image holds decides each part on its own; a hostile part is left
// out and the others are still read.
TEST_F(AppImageTest, TakesOnlyWhatStaysInsideTheImageAndTheLimits) {
    struct Row {
        const char* name;
        std::function<void(const testsupport::TempDir&)> change;
        std::string desktopName, desktop, appStreamId;
        AppImage::IconType icon;
    };
    const auto unlink = [](const testsupport::TempDir& d, const char* relative) {
        std::remove((d / relative).c_str());
    };
    const auto png = AppImage::IconType::Png;
    const auto none = AppImage::IconType::Unknown;
    const std::string id = "org.example.Foo";
    const std::vector<Row> rows{
        {"a desktop entry linked inside the image",
         [&](auto& d) {
             unlink(d, "AppDir/foo.desktop");
             d.writeFile("AppDir/usr/share/applications/foo.desktop", kDesktop);
             d.makeSymlink("AppDir/foo.desktop", "usr/bin/../share/./applications/foo.desktop");
         },
         "foo.desktop", kDesktop, id, png},
        {"a desktop entry linked out of the root",
         [&](auto& d) {
             unlink(d, "AppDir/foo.desktop");
             d.writeFile("AppDir/usr/share/applications/foo.desktop", kDesktop);
             d.makeSymlink("AppDir/foo.desktop", "usr/../../usr/share/applications/foo.desktop");
         },
         "", "", id, png},
        {"a desktop entry linked to an absolute path",
         [&](auto& d) {
             unlink(d, "AppDir/foo.desktop");
             d.writeFile("AppDir/usr/share/applications/foo.desktop", kDesktop);
             d.makeSymlink("AppDir/foo.desktop", "/usr/share/applications/foo.desktop");
         },
         "", "", id, png},
        {"a link loop",
         [&](auto& d) {
             unlink(d, "AppDir/foo.desktop");
             d.makeSymlink("AppDir/foo.desktop", "loop/a");
             d.makeSymlink("AppDir/loop/a", "b");
             d.makeSymlink("AppDir/loop/b", "../loop/a");
         },
         "", "", id, png},
        {"a huge desktop entry",
         [](auto& d) { d.writeFile("AppDir/foo.desktop", kDesktop + std::string(70000, '#')); },
         "", "", id, png},
        {"two desktop entries",
         [](auto& d) { d.writeFile("AppDir/bar.desktop", kDesktop); }, "", "", id, png},
        {"no desktop entry", [&](auto& d) { unlink(d, "AppDir/foo.desktop"); }, "", "", id, png},
        {"an SVG icon, no metainfo",
         [&](auto& d) {
             unlink(d, "AppDir/.DirIcon");
             unlink(d, "AppDir/usr/share/metainfo/org.example.Foo.appdata.xml");
             d.writeFile("AppDir/.DirIcon", "\xef\xbb\xbf<?xml version=\"1.0\"?>\n<svg/>");
         },
         "foo.desktop", kDesktop, "", AppImage::IconType::Svg},
        {"an icon too large, an id with a slash",
         [&](auto& d) {
             d.writeFile("AppDir/usr/share/icons/foo.png", kPng + std::string(600 * 1024, 'p'));
             d.writeFile("AppDir/usr/share/metainfo/org.example.Foo.appdata.xml",
                         "<component><id>../../etc</id></component>");
         },
         "foo.desktop", kDesktop, "", none},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        testsupport::TempDir dir;
        writeAppDir(dir);
        row.change(dir);
        const std::string path = packAppImage(dir, ElfShape{});
        ASSERT_FALSE(path.empty());
        const auto identity = AppImage::readIdentity(path);
        ASSERT_TRUE(identity);
        EXPECT_EQ(identity->desktopFileName, row.desktopName);
        EXPECT_EQ(identity->desktopFile, row.desktop);
        EXPECT_EQ(identity->appStreamId, row.appStreamId);
        EXPECT_EQ(identity->iconType, row.icon);
        EXPECT_EQ(identity->icon.empty(), row.icon == none);
    }
}

// An image it cannot finish within its limits, or a damaged one, yields nothing.
TEST_F(AppImageTest, YieldsNothingForAnImageBeyondItsLimitsOrDamaged) {
    testsupport::TempDir dir;
    writeAppDir(dir);
    for (int i = 0; i < 40; ++i) dir.writeFile("AppDir/file" + std::to_string(i));
    const std::string path = packAppImage(dir, ElfShape{});
    ASSERT_FALSE(path.empty());
    ASSERT_TRUE(AppImage::readIdentity(path));

    AppImage::Limits fewEntries;
    fewEntries.maxDirectoryEntries = 20;
    EXPECT_FALSE(AppImage::readIdentity(path, fewEntries));
    AppImage::Limits fewBytes;
    fewBytes.maxBytesRead = 64;
    EXPECT_FALSE(AppImage::readIdentity(path, fewBytes));
    AppImage::Limits noTime;
    noTime.deadline = std::chrono::milliseconds(-1);
    EXPECT_FALSE(AppImage::readIdentity(path, noTime));

    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    const auto elfSize = testsupport::sampleElf(ElfShape{}).size();
    ASSERT_EQ(::truncate(path.c_str(), static_cast<off_t>(elfSize + 200)), 0);
    EXPECT_TRUE(AppImage::isAppImage(path));
    EXPECT_FALSE(AppImage::readIdentity(path)) << "an image cut short";
}

}  // namespace
