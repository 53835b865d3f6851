/* Host-only operations of the UI library on a PC: what the simulator, the tests and the
 * benchmarks use to feed input and look at the screen. Not part of the terminal's library.
 *
 * Environment (read at PnlInit):
 *   POS_PANELUI_INPUT   a scenario input script, one event a line:
 *                         key NAME        NAME: 0-9, CANCEL, CLEAR, ENTER, UP, DOWN, MENU
 *                         text TEXT       typed into the view that is up (digits also as keys)
 *                         touch X Y       a touch of the main surface
 *                         screenshot NAME the frame as it is when the script gets here, as
 *                                         PNG NAME in POS_PANELUI_OUT
 *                         sign X,Y X,Y ... [; X,Y ...]   strokes for the signature pad
 *                         sign crash | sign none        the signature application fails
 *                         # a comment
 *   POS_PANELUI_OUT     directory for PNG frames ("frame-NNNNNN.png")
 *   POS_PANELUI_PNG     "every": write a PNG on every refresh (else only on request) */
#ifndef PANELUI_PANELUI_HOST_H
#define PANELUI_PANELUI_HOST_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The composited frame: the status bar above the 800 x 1280 main surface. */
#define PNL_HOST_FRAME_WIDTH 800
#define PNL_HOST_STATUS_BAR_HEIGHT 40
#define PNL_HOST_FRAME_HEIGHT (1280 + PNL_HOST_STATUS_BAR_HEIGHT)

/* Input injected as if it came from the panel (any thread). */
void PnlHostInjectKey(int key);
void PnlHostInjectTouch(int x, int y);
void PnlHostInjectText(const char *text);
/* Reads another input script (the one of POS_PANELUI_INPUT is read at PnlInit); 0 or -1. */
int PnlHostLoadInputScript(const char *path);
/* Drops pending input. */
void PnlHostClearInput(void);

/* Frames composited so far; the pixel (0xRRGGBB) of the last frame at X, Y, or -1 outside. */
uint32_t PnlHostFrameCounter(void);
int32_t PnlHostFramePixel(int x, int y);
/* The last frame as PNG at PATH; 0 or -1. */
int PnlHostWritePng(const char *path);
/* The view that is up: "none", "input", "amount", "password", "pin", "ip", "date", "msgbox",
 * "editbox", "list", "table", "slidelist", "sign". */
const char *PnlHostCurrentView(void);

/* WIDTH x HEIGHT pixels 0xRRGGBB, row by row, as an RGB PNG at PATH; 0 or -1. */
int PnlHostEncodePng(const uint32_t *pixels, int width, int height, const char *path);
/* The PNL_KEY_* code of a key name of the input script ("ENTER", "5"), or 0. */
int PnlHostKeyCode(const char *name);

#ifdef __cplusplus
}
#endif

#endif
