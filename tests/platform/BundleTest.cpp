#include <gtest/gtest.h>

#include "platform/Bundle.h"
#include "platform/PropertyList.h"
#include "support/SampleBundle.h"

namespace {

std::string binaryInfo(const platform::PlistValue& info) {
    const auto bytes = platform::PropertyList::toBinary(info);
    return std::string(bytes.begin(), bytes.end());
}

TEST(Bundle, ReadsInfoPlistInEitherFormatAndRefusesOtherFolders) {
    testsupport::TempDir dir;
    testsupport::makeBundle(
        dir, "Xml.app",
        {{"CFBundleIdentifier", "com.example.Xml"}, {"CFBundleExecutable", "Xml Tool"}});
    dir.writeFile("Bin.bundle/Contents/Info.plist",
                  binaryInfo(platform::PlistDictionary{{"CFBundleIdentifier", "com.example.Bin"}}));
    dir.writeFile("Odd.app/Contents/Info.plist",
                  binaryInfo(platform::PlistDictionary{
                      {"CFBundleIdentifier", 42}, {"CFBundleExecutable", platform::PlistArray{}}}));
    dir.makeDir("Empty.app/Contents");
    dir.writeFile("Array.app/Contents/Info.plist", binaryInfo(platform::PlistArray{"x"}));
    dir.writeFile("File.app", "a file, not a folder");

    struct Case {
        std::string path;
        bool isBundle;
        std::optional<std::string> identifier;
        std::optional<std::string> executable;
    };
    const std::vector<Case> cases = {
        {dir / "Xml.app", true, "com.example.Xml", "Xml Tool"},
        {dir / "Xml.app/Contents/..", true, "com.example.Xml", "Xml Tool"},
        {dir / "Bin.bundle", true, "com.example.Bin", std::nullopt},
        {dir / "Odd.app", true, std::nullopt, std::nullopt},
        {dir / "Empty.app", false, {}, {}},
        {dir / "Array.app", false, {}, {}},
        {dir / "File.app", false, {}, {}},
        {"", false, {}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        auto bundle = platform::Bundle::bundleWithPath(c.path);
        ASSERT_EQ(bundle != nullptr, c.isBundle);
        if (!bundle) continue;
        EXPECT_EQ(bundle->bundleIdentifier(), c.identifier);
        EXPECT_EQ(bundle->executableName(), c.executable);
    }
    EXPECT_EQ(platform::Bundle::bundleWithPath(dir / "Xml.app/Contents/..")->path(),
              dir / "Xml.app");
}

}  // namespace
