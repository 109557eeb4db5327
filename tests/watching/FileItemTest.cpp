#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <set>
#include <vector>

#include "support/TempDir.h"
#include "support/faults/ReaddirFault.h"
#include "watching/FileItem.h"
#include "watching/FileItemData.h"
#include "watching/SystemSkipList.h"
#include "watching/WatchingTestSupport.h"

using testsupport::TempDir;

namespace {

struct Announcements : FileItemListener {
    std::vector<std::string> log;
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

TEST(FileItem, LoadsToTheDepthAndNeverIntoPackagesOrLinks) {
    TempDir dir;
    dir.writeFile("root/file");
    dir.writeFile("root/dir/inner/deep.txt");
    watchingtest::makeBundle(dir, "root/X.app");
    dir.makeSymlink("root/dangling", dir / "nowhere");
    dir.makeSymlink("root/linkdir", dir / "root/dir");
    const std::set<std::string> top = {"file", "dir", "X.app", "dangling", "linkdir"};

    struct Case {
        std::int32_t deep;
        bool rootLoaded, dirLoaded, innerLoaded;
    };
    for (const Case& c : {Case{0, false, false, false}, Case{1, true, false, false},
                          Case{2, true, true, false}, Case{-1, true, true, true}}) {
        SCOPED_TRACE(c.deep);
        auto root = FileItem::createTreeForPath(dir / "root", c.deep);
        ASSERT_TRUE(root);
        EXPECT_EQ(root->getChildren() != nullptr, c.rootLoaded);
        if (!c.rootLoaded) continue;
        EXPECT_EQ(childNames(*root), top);
        auto sub = root->getChildrenWithName("dir");
        EXPECT_EQ(sub->getChildren() != nullptr, c.dirLoaded);
        EXPECT_EQ(sub->getParent(), root);
        if (c.dirLoaded) {
            auto inner = sub->getChildrenWithName("inner");
            EXPECT_EQ(inner->getChildren() != nullptr, c.innerLoaded);
            EXPECT_EQ(inner->buildFullPath(), dir / "root/dir/inner");
        }
        auto app = root->getChildrenWithName("X.app");
        EXPECT_TRUE(app->isDir() && app->isPackage());
        EXPECT_EQ(app->getChildren(), nullptr);
        auto dangling = root->getChildrenWithName("dangling");
        EXPECT_TRUE(dangling->isExist());
        EXPECT_FALSE(dangling->isDir());
        auto link = root->getChildrenWithName("linkdir");
        EXPECT_TRUE(link->isSymLink());
        EXPECT_FALSE(link->isDir());
        EXPECT_EQ(link->getChildren(), nullptr);
    }
    EXPECT_EQ(FileItem::createTreeForPath(dir / "missing"), nullptr);
    EXPECT_EQ(FileItem::createTreeForPath(""), nullptr);
}

TEST(FileItem, SkippedPathsAreNeverNodes) {
    TempDir dir;
    dir.writeFile("root/skipped/inside");
    dir.writeFile("root/kept");
    SystemSkipList::shared().addPath(dir / "root/skipped");
    auto root = FileItem::createTreeForPath(dir / "root");
    EXPECT_EQ(childNames(*root), std::set<std::string>{"kept"});
    EXPECT_EQ(FileItem::createTreeForPath(dir / "root/skipped"), nullptr);
}

TEST(FileItem, RescanAnnouncesRemovalsFirstThenAdditionsAtTheRootsDepth) {
    TempDir dir;
    dir.writeFile("root/file");
    dir.writeFile("root/old/x");
    auto root = FileItem::createTreeForPath(dir / "root", 1);
    auto listener = std::make_shared<Announcements>();
    root->setListener(listener);

    ::unlink((dir / "root/file").c_str());
    dir.writeFile("root/new");
    dir.writeFile("root/newdir/a");
    root->updateContentOfDir();
    const auto& log = listener->log;
    ASSERT_EQ(log.size(), 4u);
    EXPECT_EQ(log[0], "-file in root");
    EXPECT_EQ(std::set<std::string>(log.begin() + 1, log.end()),
              (std::set<std::string>{"+new in root", "+newdir in root", "+a in newdir"}));
    const auto at = [&](const std::string& line) {
        return std::find(log.begin(), log.end(), line);
    };
    EXPECT_LT(at("+newdir in root"), at("+a in newdir"));  // announced as it joins, before loading
    EXPECT_EQ(childNames(*root), (std::set<std::string>{"old", "new", "newdir"}));
    // The new folder got the root's own depth; its first-load sibling did not.
    EXPECT_NE(root->getChildrenWithName("newdir")->getChildren(), nullptr);
    EXPECT_EQ(root->getChildrenWithName("old")->getChildren(), nullptr);

    listener->log.clear();
    root->updateContentOfDir();                        // unchanged
    root->addChild(root->getChildrenWithName("new"));  // already held
    dir.writeFile("root/unseen");
    {
        // A read error part-way: nothing vanished, nothing arrived.
        testsupport::ReaddirFault fault(dir / "root", 3);
        root->updateContentOfDir();
        EXPECT_EQ(fault.failures(), 1);
    }
    EXPECT_EQ(childNames(*root).size(), 3u);
    EXPECT_TRUE(listener->log.empty());
}

TEST(FileItem, WhatAFailedFirstLoadMissedIsNotAnnouncedLater) {
    TempDir dir;
    for (const char* name : {"a", "b", "c", "d"}) dir.writeFile(std::string("root/") + name);
    std::shared_ptr<FileItem> root;
    {
        testsupport::ReaddirFault fault(dir / "root", 4);  // "." and ".." count
        root = FileItem::createTreeForPath(dir / "root", 1);
    }
    ASSERT_TRUE(root);
    ASSERT_LT(childNames(*root).size(), 4u);
    auto listener = std::make_shared<Announcements>();
    root->setListener(listener);
    root->updateContentOfDir();
    EXPECT_EQ(childNames(*root), (std::set<std::string>{"a", "b", "c", "d"}));
    EXPECT_TRUE(listener->log.empty());

    ::unlink((dir / "root/a").c_str());
    dir.writeFile("root/e");
    root->updateContentOfDir();
    EXPECT_EQ(listener->log, (std::vector<std::string>{"-a in root", "+e in root"}));
}

TEST(FileItemData, KeepsTheFirstSizeAndCountsTheNodeWithItsContents) {
    struct SizeListener : FileItemDataListener {
        int calls = 0;
        void onFileItemSizeCalculated() override { ++calls; }
    };
    TempDir dir;
    dir.writeFile("root/file", "abc");
    auto root = FileItem::createTreeForPath(dir / "root");
    auto data = root->getData();
    auto listener = std::make_shared<SizeListener>();
    data->setListener(listener);
    data->onSizeCalculated(10);
    data->onSizeCalculated(20);
    EXPECT_EQ(data->getSize(), 10u);
    EXPECT_EQ(listener->calls, 1);
    data->setSubItems(root->getChildrenWithName("file")->getData());
    EXPECT_EQ(std::make_pair(data->countOfFolders(), data->countOfFiles()),
              std::make_pair(1ul, 1ul));
}

}  // namespace
