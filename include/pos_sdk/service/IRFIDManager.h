// Interface and proxy of the contactless reader service ("KivoRFIDService"): the RF field,
// searching for a card, ISO 14443-4 APDU exchanges, MIFARE Classic commands and FeliCa.
//
// Card data crosses as hexadecimal text, answers come back as text, or as
// "ERROR <code> <reason>" when the service could not do it. Text results point into a
// per-thread buffer that holds the last text reply of the calling thread.
#ifndef POS_SDK_SERVICE_IRFIDMANAGER_H
#define POS_SDK_SERVICE_IRFIDMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API IRFIDManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(RFIDManager)

    // Transaction codes.
    enum : uint32_t {
        OPEN = 1,
        CLOSE = 2,
        SELECT_CARD_TYPE = 3,
        POWER_ON = 4,
        POWER_OFF = 5,
        SEARCH_CARD = 6,
        APDU_COMM = 7,
        MIFARE_CARD_COMM = 8,
        SEARCH_CARD_WITHOUT_POWER_ON = 9,
        CARD_POWER_ON = 10,
        CARD_POWER_OFF = 11,
        FELICA_SEARCH_POWER_ON = 12,
        FELICA_APDU_COMM = 13,
    };

    virtual int RFIDOpen(int mode) = 0;
    virtual int RFIDClose() = 0;
    virtual int RFIDSelectCardType(int cardType, int rate) = 0;
    virtual int RFIDPowerOn() = 0;
    virtual int RFIDPowerOff() = 0;
    virtual const char *RFIDSearchCard(int timeout) = 0;
    virtual const char *RFIDAPDUComm(const char *apdu, int timeout) = 0;
    virtual const char *RFIDMifareCardComm(int command, const char *data, int timeout) = 0;
    virtual int RFIDSearchCardWithoutPowerOn(int timeout) = 0;
    virtual const char *RFIDCardPowerOn(int timeout) = 0;
    virtual int RFIDCardPowerOff(int timeout) = 0;
    virtual const char *RFIDFelicaSearchPowerOn(int timeout) = 0;
    virtual const char *RFIDFelicaAPDUComm(const char *frame, int timeout) = 0;
};

class POS_API BpRFIDManager : public BpInterface<IRFIDManager> {
  public:
    explicit BpRFIDManager(const sp<IBinder> &impl);

    int RFIDOpen(int mode) override;
    int RFIDClose() override;
    int RFIDSelectCardType(int cardType, int rate) override;
    int RFIDPowerOn() override;
    int RFIDPowerOff() override;
    const char *RFIDSearchCard(int timeout) override;
    const char *RFIDAPDUComm(const char *apdu, int timeout) override;
    const char *RFIDMifareCardComm(int command, const char *data, int timeout) override;
    int RFIDSearchCardWithoutPowerOn(int timeout) override;
    const char *RFIDCardPowerOn(int timeout) override;
    int RFIDCardPowerOff(int timeout) override;
    const char *RFIDFelicaSearchPowerOn(int timeout) override;
    const char *RFIDFelicaAPDUComm(const char *frame, int timeout) override;
};

}  // namespace android

#endif
