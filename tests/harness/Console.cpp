#include "Console.h"

#include <unistd.h>

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

}  // namespace harness
