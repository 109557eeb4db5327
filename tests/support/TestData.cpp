#include "support/TestData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace testsupport {

std::string dataPath(const std::string& relative) {
    return std::string(SWEEPWELL_TEST_DATA) + "/" + relative;
}

std::vector<std::vector<std::string>> readTable(const std::string& relative) {
    std::vector<std::vector<std::string>> rows;
    std::ifstream file(dataPath(relative));
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::vector<std::string> fields(1);
        for (char c : line) {
            if (c == '\t') {
                fields.emplace_back();
            } else {
                fields.back() += c;
            }
        }
        rows.push_back(std::move(fields));
    }
    // A table that went missing must not pass as an empty one.
    if (rows.empty()) ADD_FAILURE() << "no rows in " << dataPath(relative);
    return rows;
}

std::vector<std::string> dataFiles(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(dataPath(folder), error)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    if (files.empty()) ADD_FAILURE() << "no files in " << dataPath(folder);
    return files;
}

}  // namespace testsupport
