// The shared-memory blocks the system keeps: "/KVSYSTEMSHMKEY" (13200 bytes, custom settings
// from offset 6600) and "/KVPKGSHMKEY" (1932 bytes, the child-application block). Layouts
// are written here from the byte offsets, independently of the library's own records.
#ifndef POS_SIM_SERVERS_SHARED_BLOCKS_H
#define POS_SIM_SERVERS_SHARED_BLOCKS_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace possim {

constexpr const char *kSystemBlock = "/KVSYSTEMSHMKEY";
constexpr size_t kSystemBlockBytes = 13200;
constexpr size_t kCustomTableAt = 6600;
constexpr size_t kCustomEntryBytes = 66;  // key 33, value 33
constexpr int kCustomFirstEntry = 2;
constexpr int kCustomEntryCount = 100;

constexpr const char *kChildBlock = "/KVPKGSHMKEY";
constexpr size_t kChildBlockBytes = 1932;
constexpr size_t kChildSlotsAt = 12;
constexpr size_t kChildSlotBytes = 80;  // name 32, state 16, value 32

// A mapping of one block that lives as long as the object.
class SharedBlock {
  public:
    SharedBlock() = default;
    ~SharedBlock();
    SharedBlock(const SharedBlock &) = delete;
    SharedBlock &operator=(const SharedBlock &) = delete;

    // Creates (or opens) NAME with SIZE bytes, cleared when CLEAR.
    bool create(const char *name, size_t size, bool clear);
    char *data() const { return data_; }
    size_t size() const { return size_; }

  private:
    char *data_ = nullptr;
    size_t size_ = 0;
};

// Writes TEXT into a field of SIZE bytes at DST, cut and terminated.
void putText(char *dst, size_t size, const std::string &text);
// Reads a terminated text of at most SIZE bytes at SRC.
std::string getText(const char *src, size_t size);

// Fills entries 2, 3, ... of the custom table in order.
void seedCustomSettings(SharedBlock &system,
                        const std::vector<std::pair<std::string, std::string>> &settings);

// Slot I of the child-application block.
struct ChildSlotView {
    char *base;
    char *name() const { return base; }
    char *state() const { return base + 32; }
    char *value() const { return base + 48; }
};
ChildSlotView childSlot(SharedBlock &block, int i);

}  // namespace possim

#endif
