// Intrusive strong reference counting: RefBase keeps the count, sp<T> holds one reference.
// An object derived from RefBase is deleted when its last sp<> lets go of it.
#ifndef ANDROID_UTILS_REFBASE_H
#define ANDROID_UTILS_REFBASE_H

#include <stdint.h>

#include <atomic>
#include <cstddef>
#include <utility>

namespace android {

class RefBase {
  public:
    // The id names the holder of the reference; it is kept only for the interface.
    void incStrong(const void *id) const;
    void decStrong(const void *id) const;
    int32_t getStrongCount() const;
    // Takes a strong reference only while another one is still held, never once the last has
    // gone (the object is then being destroyed): for tables that list objects without owning
    // them. The reference taken is released with decStrong.
    bool attemptIncStrong(const void *id) const;

  protected:
    RefBase();
    virtual ~RefBase();

    // Called once, when the first strong reference is taken.
    virtual void onFirstRef();
    // Called when the last strong reference goes, just before the object is deleted.
    virtual void onLastStrongRef(const void *id);

  private:
    RefBase(const RefBase &) = delete;
    RefBase &operator=(const RefBase &) = delete;

    mutable std::atomic<int32_t> mStrong;
};

template <typename T>
class sp {
  public:
    sp() noexcept : m_ptr(nullptr) {}
    // nullptr, 0 and NULL all arrive through the T* overloads, so none of them is ambiguous.
    sp(T *other) : m_ptr(other) { acquire(); }
    sp(const sp<T> &other) : m_ptr(other.m_ptr) { acquire(); }
    sp(sp<T> &&other) noexcept : m_ptr(other.m_ptr) { other.m_ptr = nullptr; }
    template <typename U>
    sp(U *other) : m_ptr(other) {
        acquire();
    }
    template <typename U>
    sp(const sp<U> &other) : m_ptr(other.m_ptr) {
        acquire();
    }
    template <typename U>
    sp(sp<U> &&other) noexcept : m_ptr(other.m_ptr) {
        other.m_ptr = nullptr;
    }
    ~sp() { release(); }

    sp &operator=(const sp<T> &other) {
        T *old = m_ptr;
        m_ptr = other.m_ptr;
        acquire();
        if (old) old->decStrong(this);
        return *this;
    }
    sp &operator=(sp<T> &&other) noexcept {
        if (this != &other) {
            // The new object is in place before the old one can go, so a reader never finds
            // this pointer empty or pointing at a deleted object.
            T *old = m_ptr;
            m_ptr = other.m_ptr;
            other.m_ptr = nullptr;
            if (old) old->decStrong(this);
        }
        return *this;
    }
    sp &operator=(T *other) {
        T *old = m_ptr;
        m_ptr = other;
        acquire();
        if (old) old->decStrong(this);
        return *this;
    }
    template <typename U>
    sp &operator=(const sp<U> &other) {
        return *this = sp<T>(other);
    }
    template <typename U>
    sp &operator=(sp<U> &&other) {
        return *this = sp<T>(std::move(other));
    }
    template <typename U>
    sp &operator=(U *other) {
        return *this = sp<T>(other);
    }

    void clear() {
        T *old = m_ptr;
        m_ptr = nullptr;
        if (old) old->decStrong(this);
    }

    T &operator*() const { return *m_ptr; }
    T *operator->() const { return m_ptr; }
    T *get() const { return m_ptr; }
    explicit operator bool() const { return m_ptr != nullptr; }

    // Comparisons with raw pointers are templates so that a literal 0 or NULL picks the
    // nullptr_t overload instead of being ambiguous.
    template <typename U>
    bool operator==(const sp<U> &o) const {
        return m_ptr == o.m_ptr;
    }
    template <typename U>
    bool operator!=(const sp<U> &o) const {
        return m_ptr != o.m_ptr;
    }
    template <typename U>
    bool operator==(const U *o) const {
        return m_ptr == o;
    }
    template <typename U>
    bool operator!=(const U *o) const {
        return m_ptr != o;
    }
    bool operator==(std::nullptr_t) const { return m_ptr == nullptr; }
    bool operator!=(std::nullptr_t) const { return m_ptr != nullptr; }
    template <typename U>
    bool operator<(const sp<U> &o) const {
        return m_ptr < o.m_ptr;
    }

  private:
    template <typename Y>
    friend class sp;

    void acquire() {
        if (m_ptr) m_ptr->incStrong(this);
    }
    void release() {
        if (m_ptr) m_ptr->decStrong(this);
        m_ptr = nullptr;
    }

    T *m_ptr;
};

template <typename T>
bool operator==(std::nullptr_t, const sp<T> &p) {
    return p == nullptr;
}
template <typename T>
bool operator!=(std::nullptr_t, const sp<T> &p) {
    return p != nullptr;
}

}  // namespace android

#endif
