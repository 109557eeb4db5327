#include <gtest/gtest.h>

#include "environment/ApplicationDirectoryUtils.h"
#include "support/DataTable.h"
#include "support/TempDir.h"

namespace {

using ApplicationDirectoryUtils::parentAppPathForPath;
using ApplicationDirectoryUtils::parentBundlePathForPath;

TEST(ApplicationDirectoryUtils, EnclosingApplicationAndWhatCountsAsOne) {
    testsupport::TempDir dir;
    dir.makeDir("Applications/X.app/Contents/MacOS");
    dir.makeDir("Main.app/Contents/Library/LoginItems/Helper.app/Contents/MacOS");
    dir.makeDir("Tools/Pane.prefPane/Contents/Resources/en.lproj");
    dir.makeDir("Tools/Inner.app/Contents/PlugIns/Driver.KEXT/Contents/MacOS");
    dir.writeFile("Files/fake.app/inside/file");  // fake.app is a folder too, so an application
    const std::optional<std::string> none;
    const auto at = [&](const std::string& field) -> std::optional<std::string> {
        if (field == "-") return none;
        return field.empty() || field[0] == '/' ? field : dir / field;
    };
    for (const auto& row : testsupport::readDataTable("ApplicationDirectoryUtils/enclosing.tsv")) {
        EXPECT_EQ(parentAppPathForPath(at(row.at(0))), at(row.at(1))) << row.at(0);
        EXPECT_EQ(parentBundlePathForPath(at(row.at(0))), at(row.at(2))) << row.at(0);
    }
}

}  // namespace
