#include "SimLink.h"

#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <fcntl.h>
#include <panelui/panelui_share.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include "Input.h"

namespace panelui {

namespace {

SharedFrame *g_shared = nullptr;

android::sp<android::IBinder> displayService() {
    android::sp<android::IServiceManager> manager = android::defaultServiceManager();
    if (manager == nullptr) return nullptr;
    return manager->checkService(android::String16(kDisplayServiceName));
}

// The console's input, taken from the service one event at a time. It never runs dry for
// good: a console may type at any moment.
class ServiceSource : public InputSource {
  public:
    explicit ServiceSource(android::sp<android::IBinder> service) : service_(std::move(service)) {}

    bool next(InputEvent &event) override {
        android::Parcel data, reply;
        data.writeInterfaceToken(android::String16(kDisplayDescriptor));
        if (service_->transact(DISPLAY_TAKE_INPUT, data, &reply) != android::OK) return false;
        if (reply.readExceptionCode() != 0 || reply.readInt32() != 0) return false;
        int32_t kind = reply.readInt32();
        event.key = reply.readInt32();
        event.x = reply.readInt32();
        event.y = reply.readInt32();
        event.ch = static_cast<char>(reply.readInt32());
        const char *strokes = reply.readCString();
        event.strokes = strokes != nullptr ? strokes : "";
        switch (kind) {
            case kInputKey:
                event.type = InputEvent::Type::Key;
                return true;
            case kInputTouch:
                event.type = InputEvent::Type::Touch;
                return true;
            case kInputChar:
                event.type = InputEvent::Type::Char;
                return true;
            case kInputSign:
                event.type = InputEvent::Type::Sign;
                return true;
            default:
                return false;
        }
    }
    bool live() const override { return true; }

  private:
    android::sp<android::IBinder> service_;
};

// Maps the frame file the service named; null when it is not the frame it should be.
SharedFrame *mapSharedFrame(const char *path) {
    int fd = open(path, O_RDWR | O_CLOEXEC);
    if (fd < 0) return nullptr;
    struct stat st;
    void *map = MAP_FAILED;
    if (fstat(fd, &st) == 0 && static_cast<size_t>(st.st_size) >= kSharedFrameBytes)
        map = mmap(nullptr, kSharedFrameBytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    if (map == MAP_FAILED) return nullptr;
    auto *frame = static_cast<SharedFrame *>(map);
    if (frame->magic != kSharedFrameMagic || frame->width != kSharedFrameWidth ||
        frame->height != kSharedFrameHeight) {
        munmap(map, kSharedFrameBytes);
        return nullptr;
    }
    return frame;
}

void copyText(char *to, size_t size, const char *text) {
    snprintf(to, size, "%s", text != nullptr ? text : "");
}

}  // namespace

void linkToSimulator() {
    android::sp<android::IBinder> service = displayService();
    if (service == nullptr) return;
    android::Parcel data, reply;
    data.writeInterfaceToken(android::String16(kDisplayDescriptor));
    data.writeInt32(getpid());
    if (service->transact(DISPLAY_ATTACH, data, &reply) != android::OK ||
        reply.readExceptionCode() != 0 || reply.readInt32() != 0) {
        return;
    }
    const char *path = reply.readCString();
    if (path != nullptr && *path != '\0') g_shared = mapSharedFrame(path);
    if (g_shared != nullptr) g_shared->pid = getpid();
    inputQueue().addSource(std::make_unique<ServiceSource>(service));
    inputQueue().setLive(true);
}

void publishFrame(const Surface &frame, uint32_t n, const char *png) {
    if (g_shared == nullptr || frame.width() != kSharedFrameWidth ||
        frame.height() != kSharedFrameHeight) {
        return;
    }
    g_shared->sequence.fetch_add(1, std::memory_order_acq_rel);
    memcpy(sharedPixels(g_shared), frame.row(0),
           sizeof(uint32_t) * static_cast<size_t>(frame.width()) * frame.height());
    if (png != nullptr) copyText(g_shared->png, sizeof g_shared->png, png);
    g_shared->frames.store(n, std::memory_order_relaxed);
    g_shared->sequence.fetch_add(1, std::memory_order_acq_rel);
}

void publishView(const char *view) {
    if (g_shared == nullptr) return;
    g_shared->sequence.fetch_add(1, std::memory_order_acq_rel);
    copyText(g_shared->view, sizeof g_shared->view, view);
    g_shared->sequence.fetch_add(1, std::memory_order_acq_rel);
}

}  // namespace panelui
