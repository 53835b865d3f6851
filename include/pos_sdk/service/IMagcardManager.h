// Interface and proxy of the magnetic stripe reader service ("KivoMagcardService"): swipes,
// the tracks read, and writing tracks.
//
// Tracks cross as their characters (not hexadecimal); the text of MagcardReadData points into
// a per-thread buffer that holds the last text reply of the calling thread.
#ifndef POS_SDK_SERVICE_IMAGCARDMANAGER_H
#define POS_SDK_SERVICE_IMAGCARDMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API IMagcardManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(MagcardManager)

    // Transaction codes.
    enum : uint32_t {
        OPEN = 1,
        CLOSE = 2,
        READ = 3,
        READ_DATA = 4,
        WRITE = 5,
        STATUS = 6,
        CANCEL = 7,
    };

    virtual int MagcardOpen(int mode) = 0;
    virtual int MagcardClose() = 0;
    virtual int MagcardRead(int tracks, int timeout) = 0;
    virtual const char *MagcardReadData(int track) = 0;
    virtual int MagcardWrite(const char *track1, const char *track2, const char *track3,
                             int mode) = 0;
    virtual int MagcardStatus(int *state) = 0;
    virtual int MagcardCancel() = 0;
};

class POS_API BpMagcardManager : public BpInterface<IMagcardManager> {
  public:
    explicit BpMagcardManager(const sp<IBinder> &impl);

    int MagcardOpen(int mode) override;
    int MagcardClose() override;
    int MagcardRead(int tracks, int timeout) override;
    const char *MagcardReadData(int track) override;
    int MagcardWrite(const char *track1, const char *track2, const char *track3, int mode) override;
    int MagcardStatus(int *state) override;
    int MagcardCancel() override;
};

}  // namespace android

#endif
