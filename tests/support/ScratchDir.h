// A fresh folder for one test's files, removed with everything in it when the
// test ends. ctest runs tests in parallel processes, so a fixed file name in
// the temporary folder would be shared, and overwritten, between them.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace kvitest {

class ScratchDir {
public:
    explicit ScratchDir(const std::string& prefix = "kvi-test") {
        // testing::TempDir() honours TEST_TMPDIR and TMPDIR and ends in '/'.
        std::string pattern = ::testing::TempDir() + prefix + "-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("cannot create a folder under " + ::testing::TempDir());
        path_ = pattern;
    }
    ~ScratchDir() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

} // namespace kvitest
