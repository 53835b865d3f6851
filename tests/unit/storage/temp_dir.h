// A fresh directory under /tmp for one test, removed with everything in it afterwards.
#ifndef STORAGE_TEST_TEMP_DIR_H
#define STORAGE_TEST_TEMP_DIR_H

#include <stdlib.h>

#include <filesystem>
#include <string>

class TempDir {
public:
    TempDir() {
        char pattern[] = "/tmp/pos_storage_XXXXXX";
        const char *made = mkdtemp(pattern);
        path_ = made != nullptr ? made : "";
    }
    ~TempDir() {
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
    }
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    const std::string &path() const { return path_; }
    std::string file(const std::string &name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

#endif
