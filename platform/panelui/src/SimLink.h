// The link to the simulated terminal's display service (panelui_share.h): attached once at
// initialisation when the service exists, inert otherwise.
#pragma once

#include <cstdint>

#include "Surface.h"

namespace panelui {

// Looks the service up; attached, the frames are shared and the console's input joins the
// input queue. Does nothing outside a simulated terminal.
void linkToSimulator();
// Copies frame number N into the shared frame (PNG: the file just written for it, or null).
void publishFrame(const Surface &frame, uint32_t n, const char *png);
// The view that is up.
void publishView(const char *view);

}  // namespace panelui
