// A folder of its own for a test, gone with everything in it at the test's end.
#pragma once

#include <stdlib.h>

#include <cstdlib>
#include <string>

namespace orvo::testing {

class TemporaryFolder {
  public:
    TemporaryFolder() {
        char name[] = "/tmp/orvo-test-XXXXXX";
        if (!mkdtemp(name)) std::abort();
        path_ = name;
    }
    ~TemporaryFolder() {
        if (std::system(("rm -rf " + path_).c_str()) != 0) std::abort();
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

}  // namespace orvo::testing
