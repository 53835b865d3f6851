// The simulated magnetic stripe reader ("KivoMagcardService"): a swipe (from the console, or
// the scenario) latches a card's tracks; a read takes them into the read buffer, where the
// application fetches them track by track. Writing puts tracks onto the card last swiped.
#ifndef POS_SIM_MAGCARD_SERVICE_H
#define POS_SIM_MAGCARD_SERVICE_H

#include <array>
#include <optional>
#include <string>

#include "CardFile.h"
#include "SimService.h"

namespace possim {

class MagcardService : public SimService {
  public:
    explicit MagcardService(const nlohmann::json &section);

  protected:
    nlohmann::json state() const override;
    void load(const nlohmann::json &values) override;
    void event(const std::string &name, const nlohmann::json &args) override;

  private:
    struct State {
        std::optional<Card> card;  // the card last swiped
        bool swiped = false;       // a swipe waits to be read
        bool open = false;
        bool read = false;  // the read buffer holds a swipe
        std::array<std::string, 3> readData;
        int swipes = 0;
    };

    int read(int tracks);
    std::string readData(int track) const;
    int write(const android::Parcel &request);

    State mState;
};

}  // namespace possim

#endif
