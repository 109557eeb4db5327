#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "dispatch/MainQueue.h"
#include "platform/FileWatcher.h"

// Application bundles that reached a Trash before they were whole: a program
// that copies across disks instead of renaming makes the folder first and
// fills it over seconds, so its Info.plist may not be readable when the
// Trash's quiet period ends. Each such bundle (and its Contents folder) is
// watched; after every quiet period in which it changed it is looked at again,
// and it is handed on once it is complete. One that stays silent and
// incomplete for kGiveUpAfter, or goes away, is forgotten. Main-thread only.
class IncompleteArrivals final : public std::enable_shared_from_this<IncompleteArrivals> {
    struct Private {};

public:
    // Answers true when the bundle at the path is complete now (and has been
    // handed on), false to keep waiting.
    using Check = std::function<bool(const std::string& path)>;

    static constexpr std::chrono::milliseconds kQuietPeriod{2000};
    static constexpr std::chrono::seconds kGiveUpAfter{60};

    static std::shared_ptr<IncompleteArrivals> create(
        Check check, dispatch::Duration quietPeriod = kQuietPeriod,
        dispatch::Duration giveUpAfter = kGiveUpAfter);
    IncompleteArrivals(Private, Check check, dispatch::Duration quietPeriod,
                       dispatch::Duration giveUpAfter);

    // Starts waiting for the bundle; a bundle already waited for is left as it is.
    void add(const std::string& path);
    bool isWaitingFor(const std::string& path) const { return m_arrPending.count(path) != 0; }
    std::size_t count() const { return m_arrPending.size(); }

private:
    struct Pending {
        dispatch::TimePoint lastChange;
        dispatch::TimerHandle recheck;
    };

    void watch(const std::string& path);
    // A change of a bundle waited for or of its Contents folder.
    void changedAt(const std::string& path);
    void changed(const std::string& path);
    void recheck(const std::string& path);
    void forget(const std::string& path);

    Check m_fnCheck;
    dispatch::Duration m_nQuietPeriod;
    dispatch::Duration m_nGiveUpAfter;
    std::map<std::string, Pending> m_arrPending;
    platform::FileWatches m_watches;
};
