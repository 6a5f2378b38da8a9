#pragma once
// Golden files: expected output kept as data in the source tree, compared with
// what a test produces. KVI_UPDATE_GOLDEN=1 rewrites them from the current
// output; review the diff before committing it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

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

} // namespace kvitest
