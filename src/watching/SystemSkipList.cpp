#include "watching/SystemSkipList.h"

#include "environment/PathsGenerator.h"

SystemSkipList& SystemSkipList::shared() {
    static SystemSkipList instance(PathsGenerator::GetInstance().getHomeDirectory());
    return instance;
}

SystemSkipList::SystemSkipList(const std::string& homeDirectory) {
    // Plain concatenation, not path joining: the entries must match the
    // strings the file tree builds.
    skipItems.insert(homeDirectory + "/Library/Application Support/AddressBook");
    skipItems.insert(homeDirectory + "/Library/Preferences/com.apple.AddressBook.plist");
    skipItems.insert(homeDirectory + "/Library/Calendars");
}

bool SystemSkipList::contains(const std::string& path) const {
    std::lock_guard guard(m_lock);
    return skipItems.count(path) != 0;
}

void SystemSkipList::addPath(const std::string& path) {
    std::lock_guard guard(m_lock);
    skipItems.insert(path);
}

void SystemSkipList::clearContent() {
    std::lock_guard guard(m_lock);
    if (!skipItems.empty()) skipItems.clear();
}
