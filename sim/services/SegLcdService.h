// The simulated segment LCD ("KivoSegLcdService"): the customer display of two lines of 16
// segment characters, its backlight, and the serial link to it, which can be lost.
#ifndef POS_SIM_SEG_LCD_SERVICE_H
#define POS_SIM_SEG_LCD_SERVICE_H

#include <array>
#include <string>

#include "SimService.h"

namespace possim {

class SegLcdService : public SimService {
  public:
    static const int kLines = 2;
    static const int kColumns = 16;

    // The defaults, with the keys present in the scenario's "seglcd" section taken over them.
    explicit SegLcdService(const nlohmann::json &section);

  protected:
    nlohmann::json state() const override;
    void load(const nlohmann::json &values) override;
    void event(const std::string &name, const nlohmann::json &args) override;

  private:
    struct State {
        std::array<std::string, kLines> lines;  // what is shown, kColumns characters each
        int font = 0;                           // of the last text shown: 0..2
        int flags = 0;                          // of the last text shown
        bool open = true;                       // false after CloseLcd, until the next Show
        int backlightMode = 1;                  // 0 off, 1 on, 2 automatic
        int backlightLevel = 80;                // 0..100
        bool connected = true;                  // the link to the display
        std::string version = "SEGLCD-1.2.0";
        int resets = 0;
    };

    int show(const android::Parcel &request, bool withFont);

    State mState;
};

}  // namespace possim

#endif
