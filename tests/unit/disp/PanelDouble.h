// A UI library that records each call: the operation, its numbers and its texts, and answers
// what the test set for that operation.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace double_ui {

struct Call {
    std::string op;
    std::vector<long long> values;
    std::vector<std::string> texts;
};

extern std::vector<Call> calls;
// The answer of each operation by name (0 when not set).
extern std::map<std::string, int> results;
// What the edit, amount and password views write into the caller's buffer.
extern std::string typed;
// The selection state the slide list leaves in every pair.
extern int slideState;

void reset();
std::vector<Call> callsTo(const std::string &op);

}  // namespace double_ui
