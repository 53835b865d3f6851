// The simulated terminal's display ("PosSimDisplayService"), a service of the simulator
// alone: the host UI library in the application's process shares its frames with it and
// takes the console's key presses, touches and typed text from it. The console shows the
// frame counter and the view that is up, and takes screenshots.
#ifndef POS_SIM_DISPLAY_SERVICE_H
#define POS_SIM_DISPLAY_SERVICE_H

#include <panelui/panelui_share.h>

#include <deque>
#include <string>

#include "SimService.h"

namespace possim {

class DisplayService : public SimService {
  public:
    explicit DisplayService(const nlohmann::json &section);
    ~DisplayService() override;

    void start() override;

  protected:
    nlohmann::json state() const override;
    void load(const nlohmann::json &values) override;
    void event(const std::string &name, const nlohmann::json &args) override;

  private:
    struct Input {
        int32_t kind = panelui::kInputKey;
        int32_t key = 0, x = 0, y = 0, ch = 0;
        std::string strokes;
    };
    // What the frame file's header says, read consistently.
    struct Header {
        uint32_t frames = 0;
        int32_t pid = 0;
        std::string view = "none", png;
    };

    bool readHeader(Header &header) const;
    // A consistent copy of the frame's pixels; false when none can be had.
    bool copyFrame(std::vector<uint32_t> &pixels) const;
    void needApplication() const;
    void screenshot(const nlohmann::json &args);
    int takeInput(android::Parcel *reply);

    panelui::SharedFrame *mFrame = nullptr;
    std::string mFramePath;
    std::deque<Input> mInput;
    std::string mLastScreenshot;
    int mScreenshots = 0;
};

}  // namespace possim

#endif
