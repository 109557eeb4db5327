#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "platform/FileResources.h"
#include "support/DataTable.h"
#include "support/TempDir.h"

namespace {

using testsupport::TempDir;

// A folder with one of everything the resource values tell apart.
struct Sample {
    TempDir dir;
    Sample() {
        dir.writeFile("file.txt", std::string(5000, 'x'));
        ::link((dir / "file.txt").c_str(), (dir / "second-name").c_str());
        dir.makeDir("folder/one");
        dir.makeDir("folder/two");
        dir.writeFile("Tool.app/Contents/Info.plist");
        dir.makeDir("Shout.APP");
        dir.makeDir("Kit.framework");
        dir.makeDir("Settings.prefPane");
        dir.writeFile("Plain/Contents/Info.plist");
        dir.makeDir("en.lproj");
        dir.writeFile("not-a-folder.app");
        dir.makeSymlink("link-to-folder", dir / "folder");
        dir.makeSymlink("Linked.app", dir / "Tool.app");
        dir.makeSymlink("alias", dir / "Tool.app");
        dir.makeSymlink("dangling", dir / "gone");
        dir.makeSymlink("Dangling.app", dir / "gone.app");
        ::mkfifo((dir / "pipe").c_str(), 0600);
    }
};

}  // namespace
