// The simulated contactless reader ("KivoRFIDService"): the RF field, a card tapped from a
// card file (through the console or the scenario), searching and selecting it, ISO 14443-4
// activation and APDUs, MIFARE Classic authentication, reads and writes under the sector's
// access bits, and FeliCa polling, reads and writes without encryption.
#ifndef POS_SIM_RFID_SERVICE_H
#define POS_SIM_RFID_SERVICE_H

#include <optional>
#include <string>

#include "CardFile.h"
#include "SimService.h"

namespace possim {

class RFIDService : public SimService {
  public:
    explicit RFIDService(const nlohmann::json &section);

  protected:
    nlohmann::json state() const override;
    void load(const nlohmann::json &values) override;
    void event(const std::string &name, const nlohmann::json &args) override;

  private:
    // How far the card in the field has been brought.
    enum Stage { kIdle = 0, kSelected = 1, kActive = 2, kFelica = 3 };

    struct State {
        std::optional<Card> card;  // the card in the field (or last taken out of it)
        bool inField = false;
        bool open = false;
        bool fieldOn = false;
        int cardType = 0;  // 0 A or B, 1 A, 2 B, 3 FeliCa
        int rate = 106;    // kbit/s
        int stage = kIdle;
        int authSector = -1;  // the MIFARE sector authenticated, with authKey
        std::string authKey;
        bool transferReady = false;  // the MIFARE transfer buffer holds a value
        int transferValue = 0;
        int transferAddress = 0;
        std::string lastCommand;
        int exchanges = 0;
    };

    // kCardDone when a card of the selected type is in the field and can be reached.
    int reachable() const;
    void deactivate();
    std::string search();
    std::string activate();
    std::string apdu(const std::string &text);
    std::string mifare(int command, const std::string &data);
    std::string mifareAuthenticate(char kind, const ByteString &data);
    std::string mifareRead(int block);
    std::string mifareWrite(int block, const ByteString &data);
    std::string mifareValue(int command, const ByteString &data);
    std::string mifareTransfer(int block);
    std::string felicaPoll();
    std::string felica(const std::string &text);
    std::string felicaRead(const ByteString &frame, bool write);

    State mState;
};

}  // namespace possim

#endif
