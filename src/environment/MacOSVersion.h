#pragma once

#include <optional>
#include <string>
#include <vector>

// The running system's version and a few cached "this version or later"
// flags. Where the version file does not exist (every Linux system) the
// version is unknown, and an unknown system satisfies every test.
class MacOSVersion {
public:
    static MacOSVersion& GetInstance();

    // Reads the version from the given property-list file ("ProductVersion").
    explicit MacOSVersion(const std::string& versionFilePath = kSystemVersionFile);
    // A system of a known version (nullopt: unknown), for tests.
    static MacOSVersion withVersion(std::optional<std::string> version);

    const std::optional<std::string>& version() const { return m_sMacOSVersion; }
    bool is_10_9_orHigher() const { return m_bIs_10_9_orHigher; }
    bool is_10_10_orHigher() const { return m_bIs_10_10_orHigher; }
    bool is_10_11_orHigher() const { return m_bIs_10_11_orHigher; }
    bool is_10_12_orHigher() const { return m_bIs_10_12_orHigher; }
    bool is_10_14_orHigher() const { return _is_10_14_orHigher; }

    // With neither flag: the system is exactly `version`; with `orLower`:
    // at or below it; with `orHigher`: at or above it; with both: always.
    bool isMacOSHasVersion(const std::optional<std::string>& version, bool orLower,
                           bool orHigher) const;

    // The developer's self-test: one line per question, such as "> 10.9 = YES".
    std::vector<std::string> runTests() const;
    std::vector<std::string> printTestToCheckMacOSVersion(const std::string& version) const;
    std::string printTestToCheckMacOSVersion(const std::string& version, bool orLower,
                                             bool orHigher) const;

    // Compares as the platform's numeric string search does: runs of digits
    // compare as numbers ("10.10" > "10.9"), and a string that is a prefix of
    // the other is lower ("10.9" < "10.9.0"). Answers -1, 0 or 1.
    static int compareNumeric(const std::string& a, const std::string& b);

    static constexpr const char* kSystemVersionFile =
        "/System/Library/CoreServices/SystemVersion.plist";

private:
    struct Known {};
    MacOSVersion(Known, std::optional<std::string> version);
    void fillFlags();

    std::optional<std::string> m_sMacOSVersion;
    bool m_bIs_10_9_orHigher = true;
    bool m_bIs_10_10_orHigher = true;
    bool m_bIs_10_11_orHigher = true;
    bool m_bIs_10_12_orHigher = true;
    bool _is_10_14_orHigher = true;
};
