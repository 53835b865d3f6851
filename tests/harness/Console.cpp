#include "Console.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

namespace harness {

bool underSimulator() {
    return access(possim::ctl::kInsideSocket, F_OK) == 0;
}

possim::ctl::Answer ctl(const std::vector<std::string> &words) {
    return possim::ctl::request(possim::ctl::kInsideSocket, words);
}

nlohmann::json state(const std::string &service) {
    possim::ctl::Answer answer = ctl({service, "state"});
    if (!answer.ok) return nullptr;
    nlohmann::json value = nlohmann::json::parse(answer.text, nullptr, false);
    return value.is_discarded() ? nlohmann::json() : value;
}

CommandResult runCommand(const std::string &command) {
    CommandResult result{-1, ""};
    FILE *pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return result;
    char buffer[256];
    while (fgets(buffer, sizeof buffer, pipe) != nullptr) result.out += buffer;
    int raw = pclose(pipe);
    result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return result;
}

}  // namespace harness
