#include "watching/IncompleteArrivals.h"

#include "platform/FileResources.h"

namespace {

constexpr std::uint32_t kChanges =
    platform::kNoteWrite | platform::kNoteRename | platform::kNoteDelete | platform::kNoteExtend;

std::string contentsOf(const std::string& bundle) {
    return bundle + "/Contents";
}

}  // namespace

std::shared_ptr<IncompleteArrivals> IncompleteArrivals::create(Check check,
                                                               dispatch::Duration quietPeriod,
                                                               dispatch::Duration giveUpAfter) {
    return std::make_shared<IncompleteArrivals>(Private{}, std::move(check), quietPeriod,
                                                giveUpAfter);
}

IncompleteArrivals::IncompleteArrivals(Private, Check check, dispatch::Duration quietPeriod,
                                       dispatch::Duration giveUpAfter)
    : m_fnCheck(std::move(check)),
      m_nQuietPeriod(quietPeriod),
      m_nGiveUpAfter(giveUpAfter),
      m_watches([this](const std::string& path, std::uint32_t) { changedAt(path); }) {}

void IncompleteArrivals::add(const std::string& path) {
    if (isWaitingFor(path)) return;
    m_arrPending[path] = {dispatch::MainQueue::main().now(), {}};
    watch(path);
    changed(path);
}

void IncompleteArrivals::watch(const std::string& path) {
    m_watches.add(path, kChanges);
    // Missing until the copy makes it; the bundle folder's event tells when.
    m_watches.add(contentsOf(path), kChanges);
}

void IncompleteArrivals::changedAt(const std::string& path) {
    for (const auto& candidate : {path, path.substr(0, path.rfind('/'))}) {
        if (!isWaitingFor(candidate)) continue;
        watch(candidate);
        changed(candidate);
        return;
    }
}

void IncompleteArrivals::changed(const std::string& path) {
    auto& pending = m_arrPending.at(path);
    pending.lastChange = dispatch::MainQueue::main().now();
    pending.recheck.cancel();
    pending.recheck =
        dispatch::MainQueue::main().after(m_nQuietPeriod, [weak = weak_from_this(), path] {
            if (auto self = weak.lock()) self->recheck(path);
        });
}

void IncompleteArrivals::recheck(const std::string& path) {
    const auto found = m_arrPending.find(path);
    if (found == m_arrPending.end()) return;
    if (!platform::fileExistsAtPath(path) || m_fnCheck(path)) return forget(path);
    const auto silence = dispatch::MainQueue::main().now() - found->second.lastChange;
    if (silence >= m_nGiveUpAfter) return forget(path);
    // Looked at once more when the silence has lasted long enough to give up.
    found->second.recheck = dispatch::MainQueue::main().after(m_nGiveUpAfter - silence,
                                                              [weak = weak_from_this(), path] {
                                                                  if (auto self = weak.lock())
                                                                      self->recheck(path);
                                                              });
}

void IncompleteArrivals::forget(const std::string& path) {
    const auto found = m_arrPending.find(path);
    if (found == m_arrPending.end()) return;
    found->second.recheck.cancel();
    m_arrPending.erase(found);
    m_watches.remove(path);
    m_watches.remove(contentsOf(path));
}
