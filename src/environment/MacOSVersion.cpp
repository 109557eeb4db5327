#include "environment/MacOSVersion.h"

#include "platform/PropertyList.h"

MacOSVersion& MacOSVersion::GetInstance() {
    static MacOSVersion instance;
    return instance;
}

MacOSVersion::MacOSVersion(const std::string& versionFilePath) {
    if (auto plist = platform::PropertyList::readFile(versionFilePath)) {
        if (const auto* dictionary = plist->asDictionary()) {
            if (auto it = dictionary->find("ProductVersion"); it != dictionary->end()) {
                if (const auto* text = it->second.asString()) m_sMacOSVersion = *text;
            }
        }
    }
    fillFlags();
}

MacOSVersion::MacOSVersion(Known, std::optional<std::string> version)
    : m_sMacOSVersion(std::move(version)) {
    fillFlags();
}

MacOSVersion MacOSVersion::withVersion(std::optional<std::string> version) {
    return MacOSVersion(Known{}, std::move(version));
}

void MacOSVersion::fillFlags() {
    m_bIs_10_9_orHigher = isMacOSHasVersion("10.9", false, true);
    m_bIs_10_10_orHigher = isMacOSHasVersion("10.10", false, true);
    m_bIs_10_11_orHigher = isMacOSHasVersion("10.11", false, true);
    m_bIs_10_12_orHigher = isMacOSHasVersion("10.12", false, true);
    _is_10_14_orHigher = isMacOSHasVersion("10.14", false, true);
}

int MacOSVersion::compareNumeric(const std::string& a, const std::string& b) {
    auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() && j < b.size()) {
        if (isDigit(a[i]) && isDigit(b[j])) {
            // Compare the two digit runs as numbers of any length: skip
            // leading zeros, then the longer run is larger, else the first
            // differing digit decides.
            while (i < a.size() && a[i] == '0') ++i;
            while (j < b.size() && b[j] == '0') ++j;
            std::size_t runA = i;
            std::size_t runB = j;
            while (runA < a.size() && isDigit(a[runA])) ++runA;
            while (runB < b.size() && isDigit(b[runB])) ++runB;
            const std::size_t lengthA = runA - i;
            const std::size_t lengthB = runB - j;
            if (lengthA != lengthB) return lengthA < lengthB ? -1 : 1;
            for (; i < runA; ++i, ++j) {
                if (a[i] != b[j]) return a[i] < b[j] ? -1 : 1;
            }
            continue;
        }
        if (a[i] != b[j]) {
            return static_cast<unsigned char>(a[i]) < static_cast<unsigned char>(b[j]) ? -1 : 1;
        }
        ++i;
        ++j;
    }
    const bool aDone = i >= a.size();
    const bool bDone = j >= b.size();
    if (aDone && bDone) return 0;
    return aDone ? -1 : 1;
}

bool MacOSVersion::isMacOSHasVersion(const std::optional<std::string>& version, bool orLower,
                                     bool orHigher) const {
    if (!version || !m_sMacOSVersion) return true;
    if (orLower && orHigher) return true;
    const int order = compareNumeric(*m_sMacOSVersion, *version);  // system against asked
    if (orLower) return order <= 0;
    if (orHigher) return order >= 0;
    return order == 0;
}

std::string MacOSVersion::printTestToCheckMacOSVersion(const std::string& version, bool orLower,
                                                       bool orHigher) const {
    std::string line;
    if (orLower) line += "< ";
    if (orHigher) line += "> ";
    line += version;
    line += isMacOSHasVersion(version, orLower, orHigher) ? " = YES" : " = NO";
    return line;
}

std::vector<std::string> MacOSVersion::printTestToCheckMacOSVersion(
    const std::string& version) const {
    return {printTestToCheckMacOSVersion(version, true, false),
            printTestToCheckMacOSVersion(version, false, true)};
}

std::vector<std::string> MacOSVersion::runTests() const {
    static const char* const kVersions[] = {"10.8",  "10.8.4",  "10.8.4.9", "10.8.5", "10.8.6",
                                            "10.9",  "10.9.2",  "10.9.4",   "10.9.5", "10.9.6",
                                            "10.10", "10.10.1", "10.10.2",  "10.10.4"};
    std::vector<std::string> lines;
    for (const char* version : kVersions) {
        for (auto& line : printTestToCheckMacOSVersion(version)) lines.push_back(std::move(line));
    }
    return lines;
}
