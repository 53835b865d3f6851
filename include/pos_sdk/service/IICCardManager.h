// Interface and proxy of the contact IC card service ("KivoIICCardService"): card slots,
// power on and off, the answer to reset and APDU exchanges with processor cards, commands to
// memory cards.
//
// Card data crosses as hexadecimal text: commands go out as text, answers (ATR, response
// APDU with its status word) come back as text, or as "ERROR <code> <reason>" when the
// service could not do it. Text results point into a per-thread buffer that holds the last
// text reply of the calling thread; copy the text before the next text call on that thread.
#ifndef POS_SDK_SERVICE_IICCARDMANAGER_H
#define POS_SDK_SERVICE_IICCARDMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API IICCardManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(ICCardManager)

    // Transaction codes.
    enum : uint32_t {
        OPEN = 1,
        CLOSE = 2,
        ASYNC_CARD_WORK_ATTR = 3,
        POWER_ON = 4,
        POWER_OFF = 5,
        ASYNC_CARD_COMM = 6,
        DECK_CHECK = 7,
        SYNC_CARD_COMM = 8,
    };

    virtual int ICCardOpen(int slot, int mode) = 0;
    virtual int ICCardClose(int slot) = 0;
    virtual int ICCardAsyncCardWorkAttr(int slot, int voltage, int standard, int pps, int baud,
                                        int timeout) = 0;
    virtual const char *ICCardPowerOn(int slot, int timeout) = 0;
    virtual int ICCardPowerOff(int slot, int timeout) = 0;
    virtual const char *ICCardAsyncCardComm(int slot, const char *apdu, int timeout) = 0;
    virtual int ICCardDeckCheck(int slot, int timeout) = 0;
    virtual const char *ICCardSyncCardComm(int slot, int cardType, const char *command,
                                           int timeout) = 0;
};

class POS_API BpICCardManager : public BpInterface<IICCardManager> {
  public:
    explicit BpICCardManager(const sp<IBinder> &impl);

    int ICCardOpen(int slot, int mode) override;
    int ICCardClose(int slot) override;
    int ICCardAsyncCardWorkAttr(int slot, int voltage, int standard, int pps, int baud,
                                int timeout) override;
    const char *ICCardPowerOn(int slot, int timeout) override;
    int ICCardPowerOff(int slot, int timeout) override;
    const char *ICCardAsyncCardComm(int slot, const char *apdu, int timeout) override;
    int ICCardDeckCheck(int slot, int timeout) override;
    const char *ICCardSyncCardComm(int slot, int cardType, const char *command,
                                   int timeout) override;
};

}  // namespace android

#endif
