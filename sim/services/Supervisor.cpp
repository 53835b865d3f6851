#include "Supervisor.h"

#include <binder/IServiceManager.h>
#include <binder/Parcel.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "ServiceHost.h"
#include "SimControl.h"

using nlohmann::json;

namespace possim {

namespace {

const int kStartTimeoutMs = 10000;
const int kRequestTimeoutMs = 5000;

ctl::Answer refused(const std::string &why) {
    return {false, why};
}

bool parseInt(const std::string &text, int &value) {
    char *end = nullptr;
    errno = 0;
    long v = strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno == ERANGE || v < INT_MIN || v > INT_MAX) return false;
    value = static_cast<int>(v);
    return true;
}

// KEY=VALUE words into an object; a value that reads as JSON (a number, true) is taken as
// such when TYPED, else as text.
bool keyValues(const std::vector<std::string> &words, size_t from, bool typed, json &out) {
    out = json::object();
    for (size_t i = from; i < words.size(); ++i) {
        size_t eq = words[i].find('=');
        if (eq == 0 || eq == std::string::npos) return false;
        std::string value = words[i].substr(eq + 1);
        json parsed = typed ? json::parse(value, nullptr, false) : json();
        out[words[i].substr(0, eq)] = typed && !parsed.is_discarded() ? parsed : json(value);
    }
    return true;
}

// The fault command of `fault fail COUNT [STATUS] | delay COUNT MS | drop COUNT | clear`.
bool faultCommand(const std::vector<std::string> &words, json &command) {
    if (words.size() < 3) return false;
    const std::string &kind = words[2];
    command = {{"command", "fault"}, {"kind", kind}};
    if (kind == "clear") return words.size() == 3;
    int count = 0, value = 0;
    if (words.size() < 4 || !parseInt(words[3], count)) return false;
    command["count"] = count;
    if (kind == "drop") return words.size() == 4;
    if (kind == "fail" && words.size() == 4) return true;
    if (words.size() != 5 || !parseInt(words[4], value)) return false;
    command[kind == "delay" ? "ms" : "status"] = value;
    return true;
}

// The control command of a service's console words; false for words that make none.
bool commandFor(const std::vector<std::string> &words, json &command) {
    const std::string verb = words.size() > 1 ? words[1] : "";
    json values;
    if (verb == "state" && words.size() == 2) {
        command = {{"command", "state"}};
    } else if (verb == "set" && words.size() > 2 && keyValues(words, 2, false, values)) {
        command = {{"command", "set"}, {"values", values}};
    } else if (verb == "event" && words.size() > 2 && keyValues(words, 3, true, values)) {
        command = {{"command", "event"}, {"name", words[2]}, {"args", values}};
    } else {
        return verb == "fault" && faultCommand(words, command);
    }
    return true;
}

std::string pretty(const std::string &jsonText) {
    json value = json::parse(jsonText, nullptr, false);
    if (value.is_discarded()) return jsonText + "\n";
    return value.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

}  // namespace

Supervisor::Supervisor(const json &scenario) {
    for (const ServiceEntry &entry : simulatedServices()) {
        json section =
            scenario.is_object() ? scenario.value(entry.section, json::object()) : json::object();
        mServices.push_back({&entry, section.dump(), -1});
    }
}

Supervisor::~Supervisor() {
    mConsole.stop();
    for (auto it = mServices.rbegin(); it != mServices.rend(); ++it) stopProcess(it->pid);
    stopProcess(mManager);
}

bool Supervisor::start(std::string &error) {
    mManager = spawnAndWaitReady(serviceProgramPath(), {"servicemanager"}, kStartTimeoutMs);
    if (mManager < 0) {
        error = "the service manager did not start";
        return false;
    }
    for (Service &service : mServices) {
        if (!startService(service, error)) return false;
    }
    return true;
}

bool Supervisor::startService(Service &service, std::string &error) {
    service.pid = spawnAndWaitReady(
        serviceProgramPath(), {service.entry->key, "--state", service.state}, kStartTimeoutMs);
    if (service.pid < 0) error = std::string(service.entry->key) + " did not start";
    return service.pid >= 0;
}

bool Supervisor::running(Service &service) {
    if (service.pid > 0 && waitpid(service.pid, nullptr, WNOHANG) == service.pid) service.pid = -1;
    return service.pid > 0;
}

ctl::Answer Supervisor::control(Service &service, const json &command) {
    if (!running(service)) return refused(std::string(service.entry->key) + " is not running");
    android::sp<android::IServiceManager> manager = android::defaultServiceManager();
    android::sp<android::IBinder> binder =
        manager != nullptr ? manager->getService(android::String16(service.entry->registeredName))
                           : nullptr;
    android::Parcel data, reply;
    data.writeCString(command.dump().c_str());
    if (binder == nullptr || binder->transact(kControlTransaction, data, &reply) != android::OK) {
        return refused(std::string(service.entry->key) + " does not answer");
    }
    (void)reply.readExceptionCode();
    int status = reply.readInt32();
    const char *text = reply.readCString();
    json answer = json::parse(text != nullptr ? text : "", nullptr, false);
    if (status == 0) return {true, pretty(text != nullptr ? text : "")};
    bool explained = answer.is_object() && answer.contains("error") && answer["error"].is_string();
    return refused(std::string(service.entry->key) + ": " +
                   (explained ? answer["error"].get<std::string>() : "refused"));
}

ctl::Answer Supervisor::killService(Service &service) {
    if (!running(service)) return refused(std::string(service.entry->key) + " is not running");
    // Keep what the service knew, so that a restart takes it up again (the battery does not
    // change because its service died).
    ctl::Answer state = control(service, {{"command", "state"}});
    if (state.ok) service.state = state.text;
    ::kill(service.pid, SIGKILL);
    waitpid(service.pid, nullptr, 0);
    service.pid = -1;
    return {true, std::string(service.entry->key) + ": killed\n"};
}

ctl::Answer Supervisor::restartService(Service &service) {
    if (running(service)) killService(service);
    std::string error;
    if (!startService(service, error)) return refused(error);
    return {true, std::string(service.entry->key) + ": running\n"};
}

ctl::Answer Supervisor::list() {
    std::string text;
    for (Service &service : mServices) {
        text += std::string(service.entry->key) + "\t" + service.entry->registeredName + "\t" +
                (running(service) ? "running" : "killed") + "\n";
    }
    return {true, text};
}

ctl::Answer Supervisor::answer(const std::vector<std::string> &words) {
    if (words.size() == 1 && words[0] == "list") return list();
    Service *service = nullptr;
    for (Service &s : mServices) {
        if (!words.empty() && words[0] == s.entry->key) service = &s;
    }
    if (service == nullptr) {
        return refused("no service " + (words.empty() ? std::string("given") : words[0]) +
                       " (pos-sim ctl list shows them)");
    }
    if (words.size() == 2 && words[1] == "kill") return killService(*service);
    if (words.size() == 2 && words[1] == "restart") return restartService(*service);
    json command;
    if (!commandFor(words, command)) {
        return refused(
            "unknown command; state | set KEY=VALUE... | event NAME [KEY=VALUE...] | "
            "fault fail COUNT [STATUS] | fault delay COUNT MS | fault drop COUNT | "
            "fault clear | kill | restart");
    }
    return control(*service, command);
}

bool Supervisor::serveConsole(const std::string &socket, int channel, std::string &error) {
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(socket).parent_path(), ignored);
    int listenFd = ctl::listenAt(socket, error);
    // The services the console restarts end with the thread that started them: the
    // console's one thread lasts as long as the supervisor.
    return listenFd >= 0 && mConsole.start(
                                listenFd, channel, [this](int fd) { serveConnection(fd); }, error);
}

void Supervisor::serveConnection(int fd) {
    std::string line;
    std::vector<std::string> words;
    if (ctl::readLine(fd, line, kRequestTimeoutMs)) {
        ctl::Answer answer = ctl::decodeRequest(line, words)
                                 ? this->answer(words)
                                 : refused("the request is not a list of words");
        ctl::writeAll(fd, ctl::encodeAnswer(answer));
    }
}

}  // namespace possim
