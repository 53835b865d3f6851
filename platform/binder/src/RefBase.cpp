#include <utils/RefBase.h>

namespace android {

RefBase::RefBase() : mStrong(0) {}

RefBase::~RefBase() = default;

void RefBase::onFirstRef() {}

void RefBase::onLastStrongRef(const void * /*id*/) {}

void RefBase::incStrong(const void * /*id*/) const {
    if (mStrong.fetch_add(1, std::memory_order_relaxed) == 0) {
        const_cast<RefBase *>(this)->onFirstRef();
    }
}

void RefBase::decStrong(const void *id) const {
    // Acquire-release, so the deleting thread sees every write made through other references
    // (one ordered operation rather than a fence, which ThreadSanitizer cannot follow).
    if (mStrong.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        RefBase *self = const_cast<RefBase *>(this);
        self->onLastStrongRef(id);
        delete self;
    }
}

bool RefBase::attemptIncStrong(const void * /*id*/) const {
    int32_t count = mStrong.load(std::memory_order_relaxed);
    while (count > 0) {
        if (mStrong.compare_exchange_weak(count, count + 1, std::memory_order_relaxed)) return true;
    }
    return false;
}

int32_t RefBase::getStrongCount() const {
    return mStrong.load(std::memory_order_relaxed);
}

}  // namespace android
