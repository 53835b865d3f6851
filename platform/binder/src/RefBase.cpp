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
    // Release ordering so the deleting thread sees every write made through other references.
    if (mStrong.fetch_sub(1, std::memory_order_release) == 1) {
        std::atomic_thread_fence(std::memory_order_acquire);
        RefBase *self = const_cast<RefBase *>(this);
        self->onLastStrongRef(id);
        delete self;
    }
}

int32_t RefBase::getStrongCount() const {
    return mStrong.load(std::memory_order_relaxed);
}

}  // namespace android
