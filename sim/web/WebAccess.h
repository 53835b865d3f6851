// What the terminal's page server checks before it acts: the address it listens on, the access
// token every request must carry, the words of a console command typed as one line, and the
// output files a request may read.
#ifndef POS_SIM_WEB_ACCESS_H
#define POS_SIM_WEB_ACCESS_H

#include <string>
#include <vector>

namespace possim {
namespace web {

// "[ADDR:]PORT": PORT 0 to 65535 (0 lets the kernel choose), ADDR an IPv4 address; without
// one the server listens on 127.0.0.1 only. False with ERROR when it is neither.
bool parseListenAddress(const std::string &text, std::string &address, int &port,
                        std::string &error);

// 32 hexadecimal digits from the kernel's random source; empty when it cannot be read.
std::string randomToken();
// Compares in time independent of where the texts differ.
bool tokenMatches(const std::string &given, const std::string &token);

// A console command typed as one line, split into words as a shell would: blanks separate,
// single quotes keep everything, double quotes keep all but \" and \\, a backslash outside
// quotes keeps the next character. False with ERROR for an unclosed quote or a trailing
// backslash.
bool splitWords(const std::string &line, std::vector<std::string> &words, std::string &error);

// The file at RELATIVE inside ROOT (both resolved through their links) when it is a regular
// file that stays inside ROOT: no absolute path, no ".." part, no link leading out. Empty
// otherwise.
std::string confinedFile(const std::string &root, const std::string &relative);

}  // namespace web
}  // namespace possim

#endif
