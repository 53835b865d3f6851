// The base of every simulated service: the interface token check, one lock around the state,
// a handler per transaction code in the reply shapes the protocols use, unknown codes left to
// BBinder, and the reserved control transaction (SimControl.h) with injected faults.
//
// A service registers its handlers in its constructor and implements three things:
//   state()   its whole state as JSON; the keys are those of its scenario section
//   load()    takes the keys present in a JSON object over the current state (throws
//             std::exception on a value it cannot take, leaving the state unchanged)
//   event()   a hardware event by name (optional; the default knows none)
// `set KEY=VALUE` is load() of the value typed like the state's current one.
#ifndef POS_SIM_SIM_SERVICE_H
#define POS_SIM_SIM_SERVICE_H

#include <binder/Binder.h>
#include <binder/Parcel.h>

#include <nlohmann/json_fwd.hpp>

#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace possim {

// The fields a handler puts after the status or the text of its reply.
class ReplyFields {
  public:
    ReplyFields &i32(int32_t value);
    ReplyFields &text16(const std::string &text);
    ReplyFields &cstring(const std::string &text);
    ReplyFields &raw(const void *data, size_t size);
    const android::Parcel &parcel() const { return mParcel; }

  private:
    android::Parcel mParcel;
};

// Request fields as 8-bit text: a String16 (false for the null string) and a C string
// (empty when absent).
bool readText16(const android::Parcel &request, std::string *text);
std::string readCString(const android::Parcel &request);

// A state value of the expected type; throws std::invalid_argument naming WHAT when it is of
// another type (or an integer outside int's range).
int intOf(const nlohmann::json &value, const std::string &what);
std::string textOf(const nlohmann::json &value, const std::string &what);
// Takes state[key] into FIELD when the key is present, as intOf and textOf check it.
void takeInt(const nlohmann::json &state, const char *key, int &field);
void takeBool(const nlohmann::json &state, const char *key, bool &field);
void takeText(const nlohmann::json &state, const char *key, std::string &field);

class SimService : public android::BBinder {
  public:
    const android::String16 &getInterfaceDescriptor() const override;

    // The state as JSON text, under the lock.
    std::string stateText() const;
    // Whether CODE is one of the service's transactions.
    bool handles(uint32_t code) const { return mHandlers.count(code) != 0; }
    // Runs one control command (JSON text, as the reserved transaction carries it) and answers
    // its reply text; STATUS is 0 when done, -1 when refused (the text then says why).
    std::string control(const std::string &command, int *status);
    // Called once in the service's own process before it serves: a service that drives a
    // device or publishes files starts doing so here (never where it is only built, as for
    // scenario checks or fuzzing).
    virtual void start() {}

  protected:
    explicit SimService(const char *descriptor);

    // Handlers read their request after the interface token.
    // Reply: status, then the fields the handler added.
    using StatusHandler = std::function<int(const android::Parcel &request, ReplyFields &out)>;
    // Reply: a String16, then the fields the handler added.
    using TextHandler =
        std::function<std::string(const android::Parcel &request, ReplyFields &after)>;
    void onStatus(uint32_t code, StatusHandler handler);
    void onText(uint32_t code, TextHandler handler);
    // Reply: the exception code alone (operations without a result).
    using NoneHandler = std::function<void(const android::Parcel &request)>;
    void onNone(uint32_t code, NoneHandler handler);
    // Common shapes: status 0 and FIELD; one int taken into FIELD within [low, high], else
    // refused with -1.
    void onGet(uint32_t code, const int &field);
    void onSet(uint32_t code, int &field, int low, int high);

    virtual nlohmann::json state() const = 0;
    virtual void load(const nlohmann::json &values) = 0;
    virtual void event(const std::string &name, const nlohmann::json &args);

    android::status_t onTransact(uint32_t code, const android::Parcel &data, android::Parcel *reply,
                                 uint32_t flags) override;

  private:
    // Faults injected through the control transaction, for the next calls.
    struct Faults {
        int failCount = 0;
        int failStatus = -1;
        int delayCount = 0;
        int delayMs = 0;
        int dropCount = 0;
    };
    // What applies to the call being answered.
    struct CallFault {
        int delayMs = 0;
        bool drop = false;
        bool fail = false;
        int status = 0;
    };
    using Handler = std::function<void(const android::Parcel &, android::Parcel *)>;

    nlohmann::json runCommand(const nlohmann::json &command);
    void set(const nlohmann::json &values);
    nlohmann::json fault(const nlohmann::json &command);
    nlohmann::json pendingFaults() const;
    CallFault takeFault();
    android::status_t answerControl(const android::Parcel &data, android::Parcel *reply);

    android::String16 mDescriptor;
    std::map<uint32_t, Handler> mHandlers;
    mutable std::mutex mLock;  // the state, the faults
    Faults mFaults;
};

}  // namespace possim

#endif
