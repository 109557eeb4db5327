#pragma once

#include <string>

// One name exclusion received from the Main application: silences every
// application whose name, relative to the Trash, starts with the prefix.
// Excluders are told apart by identity, never by value, so that a clear
// removes exactly the objects that existed when it arrived.
class NameExcluder {
public:
    explicit NameExcluder(std::string prefix) : m_sPrefix(std::move(prefix)) {}

    const std::string& prefix() const { return m_sPrefix; }

    // A plain, case-sensitive prefix test; an empty prefix matches nothing.
    bool isExcludedName(const std::string& name) const {
        return !m_sPrefix.empty() && name.starts_with(m_sPrefix);
    }

private:
    std::string m_sPrefix;
};
