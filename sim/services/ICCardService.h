// The simulated contact IC card reader ("KivoIICCardService"): the user card slot holding a
// card from a card file, power on with its ATR, APDU exchanges answered from the card's APDU
// table, and the synchronous commands of memory cards. Cards are inserted and removed through
// the console.
#ifndef POS_SIM_ICCARD_SERVICE_H
#define POS_SIM_ICCARD_SERVICE_H

#include <optional>
#include <string>

#include "CardFile.h"
#include "SimService.h"

namespace possim {

class ICCardService : public SimService {
  public:
    explicit ICCardService(const nlohmann::json &section);

  protected:
    nlohmann::json state() const override;
    void load(const nlohmann::json &values) override;
    void event(const std::string &name, const nlohmann::json &args) override;

  private:
    struct State {
        std::optional<Card> card;  // the card in the user slot (or last taken out of it)
        bool inserted = false;
        bool open = false;
        bool powered = false;
        int voltage = 1;   // 1: 5 V, 2: 3 V, 3: 1.8 V
        int standard = 0;  // 0: EMV, 1: ISO 7816-3
        std::string lastCommand;
        int exchanges = 0;
    };

    // 0 when SLOT holds a powered card that can be talked to, else the status saying why.
    int ready(int slot) const;
    int checkSlot(int slot) const;
    std::string powerOn(int slot, int timeout);
    std::string takeCommand(const android::Parcel &request, bool withCardType,
                            ByteString &command) const;
    std::string exchange(const android::Parcel &request);
    std::string memoryCommand(const android::Parcel &request);
    int setWorkAttributes(const android::Parcel &request);

    State mState;
};

}  // namespace possim

#endif
