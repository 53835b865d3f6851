// The simulated PIN pad service ("KivoPinpadManagerService"): a key store of master, work and
// DUKPT keys, PIN entry from the console or the scenario with a time-out and cancel, PIN
// blocks, MACs, data encryption, check values and random numbers. The request and answer
// texts are laid out in sim/README.md.
//
// Keys are kept in /customer/kivo/pinpad/keys.json where /customer/kivo exists (the
// terminal's flash, private to each simulated terminal), so they survive a restart of the
// service; elsewhere (a service run on its own outside the simulator) in memory only. The
// state shows key indexes and check values, never key values.
#ifndef POS_SIM_PINPAD_SERVICE_H
#define POS_SIM_PINPAD_SERVICE_H

#include <chrono>
#include <deque>
#include <map>
#include <string>
#include <utility>

#include "PinpadCrypto.h"
#include "SimService.h"

namespace possim {

class PinpadService : public SimService {
  public:
    // The key store file, when there is one, with the keys of the scenario's "pinpad" section
    // taken over it.
    explicit PinpadService(const nlohmann::json &section);

  protected:
    nlohmann::json state() const override;
    void load(const nlohmann::json &values) override;
    void event(const std::string &name, const nlohmann::json &args) override;

  private:
    using Clock = std::chrono::steady_clock;

    struct DukptKey {
        pinpad::Data initialKey;  // 16 bytes
        pinpad::Ksn ksn;
    };
    struct KeyStore {
        std::map<std::pair<int, int>, pinpad::Data> keys;  // by (type, index)
        std::map<int, DukptKey> dukpt;                     // by index
    };
    struct Settings {
        bool open = false;
        bool cardPresent = true;
        std::string version = "KV-SIM-PINPAD V1.0.0";
        int pinMin = 4;
        int pinMax = 12;
        std::deque<std::string> scriptedPins;  // digits, "cancel" or "timeout", in turn
    };
    // The PIN entry in progress or the last one, until the next starts.
    struct Entry {
        enum Phase { Idle, Waiting, Done, Cancelled, TimedOut };
        Phase phase = Idle;
        bool dukpt = false;
        int keyIndex = 0;
        std::string pan;
        std::string digits;
        int timeoutSeconds = 0;
        Clock::time_point deadline;
        std::string result;  // the answer of a finished entry
    };

    void requireOpen() const;

    // Transactions.
    std::string startEntry(const android::Parcel &request, bool dukpt);
    std::string pushMasterKey(const android::Parcel &request);
    std::string pushWorkKey(const android::Parcel &request);
    int loadKey(const android::Parcel &request);
    std::string keyState(int type, int index) const;
    std::string checkValueOf(const android::Parcel &request) const;
    std::string dataDeal(const android::Parcel &request);
    std::string mac(const android::Parcel &request, bool verify);
    int writeDukptKey(const android::Parcel &request);
    std::string dukptCipher(const android::Parcel &request, bool mac);
    int setPinLimits(const android::Parcel &request);

    // PIN entry.
    void expireEntry();
    Entry::Phase entryPhase() const;  // Waiting reads TimedOut once the deadline has passed
    std::string entryResult(bool dukpt);
    void typeDigits(const std::string &digits);
    void enterPin();
    void respond(int action);
    void applyScript();

    // Keys.
    const pinpad::Data &keyAt(int type, int index) const;
    DukptKey &dukptAt(int index);
    // The transaction key of a DUKPT key, its counter first moved off zero.
    pinpad::Data currentDukptKey(DukptKey &key);
    void storeKey(int type, int index, const pinpad::Data &key);
    KeyStore storeFrom(const nlohmann::json &values) const;
    void readKeyFile();
    void saveKeyFile() const;

    Settings mSettings;
    KeyStore mStore;
    Entry mEntry;
};

}  // namespace possim

#endif
