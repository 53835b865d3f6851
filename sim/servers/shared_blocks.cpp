#include "servers/shared_blocks.h"

#include <fcntl.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace possim {

SharedBlock::~SharedBlock() {
    if (data_ != nullptr) munmap(data_, size_);
}

bool SharedBlock::create(const char *name, size_t size, bool clear) {
    // Mode 0777 so that applications of any user on the terminal can map the blocks.
    int fd = shm_open(name, O_CREAT | O_RDWR | O_CLOEXEC, 0777);
    if (fd < 0) return false;
    fchmod(fd, 0777);
    bool ok = ftruncate(fd, off_t(size)) == 0;
    void *p = ok ? mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0) : MAP_FAILED;
    close(fd);
    if (p == MAP_FAILED) return false;
    data_ = static_cast<char *>(p);
    size_ = size;
    if (clear) memset(data_, 0, size_);
    return true;
}

void putText(char *dst, size_t size, const std::string &text) {
    size_t n = text.size() < size - 1 ? text.size() : size - 1;
    memcpy(dst, text.data(), n);
    memset(dst + n, 0, size - n);
}

std::string getText(const char *src, size_t size) {
    return std::string(src, strnlen(src, size));
}

void seedCustomSettings(SharedBlock &system,
                        const std::vector<std::pair<std::string, std::string>> &settings) {
    int entry = kCustomFirstEntry;
    for (const auto &kv : settings) {
        if (entry >= kCustomEntryCount) break;
        char *e = system.data() + kCustomTableAt + kCustomEntryBytes * size_t(entry++);
        putText(e, 33, kv.first);
        putText(e + 33, 33, kv.second);
    }
}

ChildSlotView childSlot(SharedBlock &block, int i) {
    return ChildSlotView{block.data() + kChildSlotsAt + kChildSlotBytes * size_t(i)};
}

}  // namespace possim
