#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "dispatch/Queue.h"
#include "environment/PathsGenerator.h"

// Whether another copy of an application is still installed: a trashed
// application that is installed elsewhere too has left nothing behind yet.
class InstalledCopies {
public:
    // Where other installed copies of an application are looked for.
    struct Locations {
        std::string systemApplicationsFolder = "/Applications";
        std::string volumesFolder = "/Volumes";
        // The user's Applications folder and Trash.
        PathsGenerator paths = PathsGenerator::GetInstance();
        // The folders scanned for the registered copies of an identifier.
        std::vector<std::string> launchServicesRoots;
        // Whether the system lists every copy, or names only one.
        bool listsEveryCopy = true;
        // Where the folders are scanned, away from the main thread; null for
        // a queue shared by every check.
        std::shared_ptr<dispatch::Queue> scanQueue;

        static Locations standard();
    };

    explicit InstalledCopies(Locations locations) : m_locations(std::move(locations)) {}

    // Calls okBlock once, on the main thread, when no other copy of the
    // application is installed: first the registered copies are checked
    // (those under /Volumes and in the Trash do not count), then a metadata
    // search of the two Applications folders. Nothing happens for nil. The
    // folders are read on the scan queue, never on the calling thread.
    void whenNoneInstalled(const std::optional<std::string>& bundleId,
                           std::function<void()> okBlock) const;

private:
    static void searchForInstalledCopies(const std::string& bundleId, std::function<void()> okBlock,
                                         const Locations& locations);

    Locations m_locations;
};
