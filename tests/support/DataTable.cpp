#include "support/DataTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace testsupport {

namespace {

std::string unescape(const std::string& field) {
    std::string out;
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] != '\\' || i + 1 == field.size()) {
            out += field[i];
            continue;
        }
        const char next = field[++i];
        if (next == 't') {
            out += '\t';
        } else if (next == 'n') {
            out += '\n';
        } else if (next == 'x' && i + 2 < field.size()) {
            out += static_cast<char>(std::stoi(field.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else if (next != 'e') {
            out += next;
        }
    }
    return out;
}

}  // namespace

std::string dataPath(const std::string& name) {
    return std::string(SWEEPWELL_TEST_DATA) + "/" + name;
}

std::vector<DataRow> readDataTable(const std::string& name) {
    std::ifstream file(dataPath(name));
    if (!file) ADD_FAILURE() << "no test data " << name;
    std::vector<DataRow> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line == "#" || line.rfind("# ", 0) == 0) continue;
        DataRow row;
        for (std::size_t start = 0; start != std::string::npos;) {
            const std::size_t tab = line.find('\t', start);
            row.push_back(unescape(line.substr(start, tab - start)));
            start = line.find_first_not_of('\t', tab);
        }
        rows.push_back(row);
    }
    if (rows.empty()) ADD_FAILURE() << "no rows in " << name;
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

std::string describeRow(const DataRow& row) {
    std::string out;
    for (const auto& field : row) out += (out.empty() ? "" : " | ") + field;
    return out;
}

}  // namespace testsupport
