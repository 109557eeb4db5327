#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
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

std::set<std::string> childNames(const FileItem& item) {
    std::set<std::string> names;
    if (item.getChildren()) {
        for (const auto& [name, child] : *item.getChildren()) names.insert(name);
    }
    return names;
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

    struct Case {
        std::int32_t deep;
        bool rootLoaded, dirLoaded, innerLoaded;
    };
    for (const Case& c : {Case{0, false, false, false}, Case{1, true, false, false},
                          Case{2, true, true, false}, Case{-1, true, true, true}}) {
        SCOPED_TRACE(c.deep);
        auto root = load("/t/root", c.deep);
        ASSERT_TRUE(root);
        EXPECT_EQ(root->getChildren() != nullptr, c.rootLoaded);
        if (!c.rootLoaded) continue;
        EXPECT_EQ(childNames(*root),
                  (std::set<std::string>{"file", "dir", "X.app", "dangling", "linkdir"}));
        auto sub = root->getChildrenWithName("dir");
        EXPECT_EQ(sub->getChildren() != nullptr, c.dirLoaded);
        EXPECT_EQ(sub->getParent(), root);
        if (c.dirLoaded) {
            auto inner = sub->getChildrenWithName("inner");
            EXPECT_EQ(inner->getChildren() != nullptr, c.innerLoaded);
            EXPECT_EQ(inner->buildFullPath(), "/t/root/dir/inner");
        }
        auto app = root->getChildrenWithName("X.app");
        EXPECT_TRUE(app->isDir() && app->isPackage() && !app->getChildren());
        auto dangling = root->getChildrenWithName("dangling");
        EXPECT_TRUE(dangling->isExist() && !dangling->isDir());
        auto link = root->getChildrenWithName("linkdir");
        EXPECT_TRUE(link->isSymLink() && !link->isDir() && !link->getChildren());
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
    EXPECT_EQ(childNames(*root), (std::set<std::string>{"old", "new", "newdir"}));
    // The new folder got the root's own depth; its first-load sibling did not.
    EXPECT_NE(root->getChildrenWithName("newdir")->getChildren(), nullptr);
    EXPECT_EQ(root->getChildrenWithName("old")->getChildren(), nullptr);

    log.clear();
    root->updateContentOfDir();                        // unchanged
    root->addChild(root->getChildrenWithName("new"));  // already held
    // A read error part-way: nothing vanished, nothing arrived.
    disk->add("/t/root/unseen");
    disk->failListing("/t/root", 1);
    root->updateContentOfDir();
    EXPECT_EQ(childNames(*root).size(), 3u);
    EXPECT_TRUE(log.empty());
}

TEST_F(FileTree, WhatAFailedFirstLoadMissedIsNotAnnouncedLater) {
    for (const char* name : {"a", "b", "c", "d"}) disk->add(std::string("/t/root/") + name);
    disk->failListing("/t/root", 2);
    auto root = load("/t/root", 1);
    ASSERT_EQ(childNames(*root).size(), 2u);
    disk->failListing("/t/root", std::nullopt);
    listenTo(root);
    root->updateContentOfDir();
    EXPECT_EQ(childNames(*root), (std::set<std::string>{"a", "b", "c", "d"}));
    EXPECT_TRUE(log.empty());

    disk->remove("/t/root/a");
    disk->add("/t/root/e");
    root->updateContentOfDir();
    EXPECT_EQ(log, (std::vector<std::string>{"-a in root", "+e in root"}));
}

TEST_F(FileTree, DataKeepsTheFirstSizeAndCountsTheNodeWithItsContents) {
    struct SizeListener : FileItemDataListener {
        int calls = 0;
        void onFileItemSizeCalculated() override { ++calls; }
    };
    disk->add("/t/root/file");
    auto root = load("/t/root", -1);
    auto data = root->getData();
    auto sizes = std::make_shared<SizeListener>();
    data->setListener(sizes);
    data->onSizeCalculated(10);
    data->onSizeCalculated(20);
    EXPECT_EQ(std::make_pair(data->getSize(), sizes->calls), std::make_pair(10ul, 1));
    data->setSubItems(root->getChildrenWithName("file")->getData());
    EXPECT_EQ(std::make_pair(data->countOfFolders(), data->countOfFiles()),
              std::make_pair(1ul, 1ul));
}

}  // namespace
