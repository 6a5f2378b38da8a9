// A fresh folder for one test's files, removed with everything in it when the
// test ends. ctest runs tests in parallel processes, so a fixed file name in
// the temporary folder would be shared, and overwritten, between them.
#pragma once

#include <string>

namespace kvitest {

class ScratchDir {
public:
    explicit ScratchDir(const std::string& prefix = "kvi-test");
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

} // namespace kvitest
