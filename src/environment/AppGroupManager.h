#pragma once

#include <memory>
#include <optional>
#include <string>

namespace platform {
class UserDefaults;
}

// The application group shared by the Main application and the Helper: its
// settings store and its folder for files passed between the two.
class AppGroupManager {
public:
    static AppGroupManager& GetInstance();

    // `containerPath`: the group's container folder, when the system has one.
    AppGroupManager(std::optional<std::string> containerPath,
                    std::shared_ptr<platform::UserDefaults> defaults);

    // The container's "Temp" folder, or without a container the per-user
    // private temporary folder. Not created here.
    std::string getTemporaryDirectory() const;
    // The group's settings store; null if it could not be opened.
    const std::shared_ptr<platform::UserDefaults>& defaults() const { return m_pDefaults; }

    static constexpr const char* kGroupIdentifier = "QX5R28WK4T.quorvex.SweepwellPlus";
    static constexpr const char* kTemporaryFolderName = "Temp";

private:
    std::optional<std::string> m_sContainerPath;
    std::shared_ptr<platform::UserDefaults> m_pDefaults;
};
