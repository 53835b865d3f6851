// The simulated thermal printer ("KivoThermalPrinterService"): bitmaps printed onto a paper
// roll of 384 dots (or the scenario's width), paper fed, black labels found, density set, and
// the paper-out and overheating conditions the console sets. Every receipt (the paper between
// two cuts) is written as a PNG image to "receipts/" of the run's output directory.
#ifndef POS_SIM_THERMAL_SERVICE_H
#define POS_SIM_THERMAL_SERVICE_H

#include <string>

#include "ReceiptPng.h"
#include "SimService.h"

namespace possim {

class ThermalService : public SimService {
  public:
    explicit ThermalService(const nlohmann::json &section);
    ~ThermalService() override;
    void start() override { mStarted = true; }

  protected:
    nlohmann::json state() const override;
    void load(const nlohmann::json &values) override;
    void event(const std::string &name, const nlohmann::json &args) override;

  private:
    struct State {
        bool open = false;
        int width = 384;  // dots across the paper
        int density = 4;  // 1..8
        int speed = 2;    // 1..4
        bool paperOut = false;
        bool overheated = false;
        int paperLeft = -1;       // dots of paper on the roll, -1 endless
        int blackLabelPitch = 0;  // dots from one black label to the next, 0 plain paper
        int position = 0;         // dots moved since the roll was loaded (black labels)
        int receipts = 0;         // receipt images written so far (numbers their names)
        std::string receiptDir;   // empty: the run's output directory
        std::string lastReceipt;  // path of the last receipt written
        std::string lastError;    // why the last receipt could not be written
    };

    int print(const android::Parcel &request);
    int feed(const android::Parcel &request);
    int findBlackLabel(const android::Parcel &request);
    int status(const android::Parcel &request) const;
    // The state code of a printer asked to move paper: 0, or why it cannot.
    int readiness() const;
    // Takes DOTS rows of paper; false (paper out) when the roll has fewer left.
    bool takePaper(int dots);
    void addBlankRows(int rows);
    // Ends the receipt: what was printed since the last cut is written as an image.
    void cut();
    std::string receiptDir() const;

    State mState;
    bool mStarted = false;  // serving in a terminal of its own: receipts go to its output
    Dots mReceipt;          // the paper printed since the last cut
};

}  // namespace possim

#endif
