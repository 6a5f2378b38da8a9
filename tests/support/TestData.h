#pragma once
// Test data kept in the source tree: golden files (expected output compared
// with what a test produces; KVI_UPDATE_GOLDEN=1 rewrites them from the current
// output, review the diff before committing it) and case tables read line by line.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace kvitest {

// The expected text of the golden file `relPath` (from the source root); with
// KVI_UPDATE_GOLDEN=1 the file is first rewritten with `actual`.
inline std::string golden(const std::string& relPath, const std::string& actual) {
    const std::string path = std::string(KVI_SOURCE_DIR) + "/" + relPath;
    const char* update = std::getenv("KVI_UPDATE_GOLDEN");
    if (update != nullptr && std::string(update) == "1") {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out << actual;
        out.close();
        if (!out)
            ADD_FAILURE() << "cannot rewrite " << path;
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        ADD_FAILURE() << "missing golden file " << path << " (KVI_UPDATE_GOLDEN=1 writes it)";
        return {};
    }
    std::stringstream expected;
    expected << in.rdbuf();
    return expected.str();
}

// The lines of the data file `relPath` (from the source root) that are neither
// blank nor comments ('#' first), with their line numbers.
inline std::vector<std::pair<int, std::string>> dataLines(const std::string& relPath) {
    const std::string path = std::string(KVI_SOURCE_DIR) + "/" + relPath;
    std::ifstream in(path, std::ios::binary);
    if (!in)
        ADD_FAILURE() << "cannot read " << path;
    std::vector<std::pair<int, std::string>> out;
    int n = 0;
    for (std::string line; std::getline(in, line);)
        if (++n, !line.empty() && line[0] != '#')
            out.emplace_back(n, line);
    return out;
}

} // namespace kvitest
