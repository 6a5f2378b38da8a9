#include "ScratchDir.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace kvitest {

ScratchDir::ScratchDir(const std::string& prefix) {
    // testing::TempDir() honours TEST_TMPDIR and TMPDIR and ends in '/'.
    std::string pattern = ::testing::TempDir() + prefix + "-XXXXXX";
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
    if (::mkdtemp(buf.data()) == nullptr)
        throw std::runtime_error("cannot create a folder under " + ::testing::TempDir());
    path_ = buf.data();
}

ScratchDir::~ScratchDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

} // namespace kvitest
