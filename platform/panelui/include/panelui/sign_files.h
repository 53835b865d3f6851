// Where the UI library and the signature application "pnl_elec_sign" meet: the strokes to
// draw, the application's process id while it runs, and the transfer record it leaves.
#pragma once

namespace panelui {

constexpr const char *kSignDir = "/tmp/.pnl_elec_sign";
constexpr const char *kSignStrokesFile = "/tmp/.pnl_elec_sign/strokes";
constexpr const char *kSignPidFile = "/tmp/.pnl_elec_sign/pid";
constexpr const char *kSignResultFile = "/tmp/.pnl_elec_sign/record";

}  // namespace panelui
