#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <vector>

#include "support/FakeDirectoryReader.h"
#include "watching/FileItem.h"
#include "watching/FileItemData.h"
#include "watching/SystemSkipList.h"

namespace {

using Kind = testsupport::FakeDirectoryReader::Kind;

// Logs what the tree announces, and is the tree's listener.
class FileTree : public ::testing::Test, public FileItemListener {
protected:
    std::shared_ptr<testsupport::FakeDirectoryReader> disk =
        std::make_shared<testsupport::FakeDirectoryReader>();
    std::vector<std::string> log;

    std::shared_ptr<FileItem> load(const std::string& path, std::int32_t deep) {
        return FileItem::createTreeForPath(path, deep, disk);
    }
    // The fixture outlives the trees; the handle only lends it to them.
    std::shared_ptr<FileItemListener> handle{this, [](FileItemListener*) {}};
    void listenTo(const std::shared_ptr<FileItem>& root) { root->setListener(handle); }
    void onAddedFileItem(const std::shared_ptr<FileItem>& item,
                         const std::shared_ptr<FileItem>& parent) override {
        log.push_back("+" + item->getNameWithExt() + " in " + parent->getNameWithExt());
    }
    void onRemovedFileItem(const std::shared_ptr<FileItem>& item,
                           const std::shared_ptr<FileItem>& parent) override {
        log.push_back("-" + item->getNameWithExt() + " in " + parent->getNameWithExt());
    }
    std::shared_ptr<FileItem> getFileItemParent() override { return nullptr; }
};

// The loaded tree in one line: "/" marks a folder, "@" a link, "#" a package,
// and braces hold the children of a node whose children were loaded.
std::string shape(const FileItem& item) {
    std::string text = item.getNameWithExt() + (item.isDir() ? "/" : "") +
                       (item.isSymLink() ? "@" : "") + (item.isPackage() ? "#" : "");
    if (!item.getChildren()) return text;
    std::map<std::string, std::string> children;
    for (const auto& [name, child] : *item.getChildren()) children[name] = shape(*child);
    text += "{";
    for (const auto& [name, child] : children) text += (text.back() == '{' ? "" : " ") + child;
    return text + "}";
}

TEST_F(FileTree, LoadsToTheDepthAndNeverIntoPackagesLinksOrSkippedPaths) {
    disk->add("/t/root/file");
    disk->add("/t/root/dir/inner/deep.txt");
    disk->add("/t/root/X.app/Contents/Info.plist");
    disk->add("/t/root/X.app", Kind::Package);
    disk->add("/t/root/dangling", Kind::DanglingLink);
    disk->add("/t/root/linkdir/seen-through-the-link");
    disk->add("/t/root/linkdir", Kind::LinkToFolder);
    disk->add("/t/root/skipped/inside");
    SystemSkipList::shared().addPath("/t/root/skipped");
    for (const auto& [deep, expected] : std::vector<std::pair<std::int32_t, std::string>>{
             {0, "root/"},
             {1, "root/{X.app/# dangling dir/ file linkdir@}"},
             {2, "root/{X.app/# dangling dir/{inner/} file linkdir@}"},
             {-1, "root/{X.app/# dangling dir/{inner/{deep.txt}} file linkdir@}"}}) {
        auto root = load("/t/root", deep);
        ASSERT_TRUE(root);
        EXPECT_EQ(shape(*root), expected);
    }
    for (const char* path : {"/t/missing", "", "/t/root/skipped"}) {
        EXPECT_EQ(load(path, -1), nullptr) << path;
    }
}

TEST_F(FileTree, RescanAnnouncesRemovalsFirstThenAdditionsAtTheRootsDepth) {
    disk->add("/t/root/file");
    disk->add("/t/root/old/x");
    auto root = load("/t/root", 1);
    listenTo(root);

    disk->remove("/t/root/file");
    disk->add("/t/root/new");
    disk->add("/t/root/newdir/a");
    root->updateContentOfDir();
    // Each node is announced as it joins, before what it holds is loaded.
    EXPECT_EQ(log, (std::vector<std::string>{"-file in root", "+new in root", "+newdir in root",
                                             "+a in newdir"}));
    // The new folder got the root's own depth; its first-load sibling did not.
    EXPECT_EQ(shape(*root), "root/{new newdir/{a} old/}");

    log.clear();
    root->updateContentOfDir();                        // unchanged
    root->addChild(root->getChildrenWithName("new"));  // already held
    // A read error part-way: nothing vanished, nothing arrived.
    disk->add("/t/root/unseen");
    disk->failListing("/t/root", 1);
    root->updateContentOfDir();
    EXPECT_EQ(shape(*root), "root/{new newdir/{a} old/}");
    EXPECT_TRUE(log.empty());
}

TEST_F(FileTree, WhatAFailedFirstLoadMissedIsNotAnnouncedLater) {
    for (const char* name : {"a", "b", "c", "d"}) disk->add(std::string("/t/root/") + name);
    disk->failListing("/t/root", 2);
    auto root = load("/t/root", 1);
    ASSERT_EQ(shape(*root), "root/{a b}");
    disk->failListing("/t/root", std::nullopt);
    listenTo(root);
    root->updateContentOfDir();
    EXPECT_EQ(shape(*root), "root/{a b c d}");
    EXPECT_TRUE(log.empty());

    disk->remove("/t/root/a");
    disk->add("/t/root/e");
    root->updateContentOfDir();
    EXPECT_EQ(log, (std::vector<std::string>{"-a in root", "+e in root"}));
}

}  // namespace
