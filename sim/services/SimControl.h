// The simulator-only transaction every simulated service answers, shared by the services and
// by whoever drives them (the supervisor behind `pos-sim ctl`, tests, the fuzzer).
//
// Request: one C string, a JSON command:
//   {"command": "state"}
//   {"command": "set", "values": {"battery_capacity": "15", ...}}   text is typed by the state
//   {"command": "event", "name": "charger_connected", "args": {...}}
//   {"command": "fault", "kind": "fail", "count": N, "status": S}
//   {"command": "fault", "kind": "delay", "count": N, "ms": M}
//   {"command": "fault", "kind": "drop", "count": N}
//   {"command": "fault", "kind": "clear"}
// Reply: the exception code 0, a status (0 done, -1 refused) and one C string of JSON: the
// service's state (state, set, event), the pending faults (fault), or {"error": TEXT}.
#ifndef POS_SIM_SIM_CONTROL_H
#define POS_SIM_SIM_CONTROL_H

#include <cstdint>

namespace possim {

// "SIM" packed into a code of the user range that no service's table reaches.
constexpr uint32_t kControlTransaction = ('S' << 16) | ('I' << 8) | 'M';

}  // namespace possim

#endif
