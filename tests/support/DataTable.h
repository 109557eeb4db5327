#pragma once

#include <string>
#include <vector>

namespace testsupport {

// A table of cases kept in tests/data/<name>: one row a line, fields split by
// tabs (a run of tabs is one split), lines starting with "# " are comments.
// Fields understand \t, \n, \\, \xHH, and \e for an empty field, so hostile
// bytes can be written plainly. A missing file fails the test.
using DataRow = std::vector<std::string>;
std::vector<DataRow> readDataTable(const std::string& name);

// The path of a file kept under tests/data, for tests that read it whole.
std::string dataPath(const std::string& name);

// The regular files of a folder under tests/data, by name, as full paths;
// an empty or missing folder fails the test.
std::vector<std::string> dataFiles(const std::string& folder);

// A row as one readable line, for SCOPED_TRACE.
std::string describeRow(const DataRow& row);

}  // namespace testsupport
