/* The terminal's UI library: surfaces, text, drawing, keys and touch, the status bar and the
 * modal views. The SDK calls exactly these operations; on a device the terminal's own library
 * stands behind this header, on a PC the host implementation in platform/panelui.
 *
 * Handles are small non-zero numbers. Colours are 0xRRGGBB. Texts are GBK. */
#ifndef PANELUI_PANELUI_H
#define PANELUI_PANELUI_H

#include <stdint.h>
#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Key codes of PnlGetKey: the digits 0-9 are 269-278, then the function keys. */
enum {
    PNL_KEY_0 = 269,
    PNL_KEY_9 = 278,
    PNL_KEY_CANCEL = 279,
    PNL_KEY_CLEAR = 280,
    PNL_KEY_ENTER = 281,
    PNL_KEY_UP = 282,
    PNL_KEY_DOWN = 283,
    PNL_KEY_MENU = 284
};

/* Results of the waits and views. */
enum {
    PNL_OK = 0,
    PNL_CANCELLED = -1,
    PNL_TIMEOUT = -2,
    PNL_EMPTY = -3 /* confirmed with nothing entered */
};

/* Text flags of the line and text operations. */
enum {
    PNL_TEXT_INVERSE = 0x02,
    PNL_TEXT_CENTRE = 0x04,
    PNL_TEXT_RIGHT = 0x08,
    PNL_TEXT_CLEAR_LINE = 0x40,
    PNL_TEXT_UNDERLINE = 0x80,
    PNL_TEXT_FRAME = 0x100
};

/* Pixel format of PnlPutDIB: three bytes per pixel, R G B, rows top to bottom. */
#define PNL_DIB_RGB888 4

/* One pair of PnlShowListWithSlideButtonEx's array. */
typedef struct PnlSlideItem {
    char *text;
    int32_t state;
} PnlSlideItem;

/* The signature application's result, owned by the library (PnlReleaseElecSignTransData). */
#define PNL_SIGN_IMAGE_BYTES 0x25800
typedef struct PnlElecSignTransData {
    char status; /* '0' success */
    char reserved[3];
    int32_t length1;
    uint8_t image1[PNL_SIGN_IMAGE_BYTES];
    int32_t length2;
    uint8_t image2[PNL_SIGN_IMAGE_BYTES];
} PnlElecSignTransData;

int PnlInit(void);
int PnlInitAndSetStateBar(int show);
int32_t PnlGetMainDC(void);
int32_t PnlGetStateBarDC(void);
int32_t PnlGetTipDC(void);

uint32_t PnlLmSetBackColor(uint32_t colour);
uint32_t PnlLmSetTextColor(uint32_t colour);
int PnlLmShowString(int line, const char *text, unsigned int flags);
int PnlLmShowStringEx(int line, const char *text, unsigned int flags);
int PnlLineShowTextPersian(int line, const char *text, unsigned int flags);
int PnlDrawTextA(int32_t hdc, int x1, int y1, int x2, int y2, const char *text, int length,
                 unsigned int flags);
int PnlDrawMainInterface(const void *logo, const char *text);
int PnlPutDIB(int32_t hdc, const unsigned char *data, int x, int y, int width, int height,
              uint32_t keyColour, int format, int reserved);
int PnlDrawHorz(int32_t hdc, int x, int y, int length, int width);
int PnlDrawVert(int32_t hdc, int x, int y, int length, int width);
int PnlDrawLine(int32_t hdc, int x1, int y1, int x2, int y2);
uint32_t PnlGetDCPenColor(int32_t hdc);
uint32_t PnlSetDCPenColor(int32_t hdc, uint32_t colour);
int PnlDrawRectWithColor(int32_t hdc, int x, int y, int width, int height, int colour);
int PnlClearDC(int32_t hdc);
int PnlClearDCArea(int32_t hdc, int x, int y, int width, int height);
int PnlSetDCHideMode(int32_t hdc, int hide);
int PnlReFreshScreen(void);
/* 0: 16-pixel text, 1: 16-pixel, 2: 24-pixel (the default), 3: 24-pixel. -1 otherwise. */
int PnlSetSysFont2(int code);

/* Time-outs are milliseconds; 0 or less waits as long as input can come. */
int PnlGetKey(int timeout);
int PnlGetKeyAndTouchPad(int *key, int *x, int *y, int timeout);
int PnlLinuxGetKey(int a, int b);
int PnlLinuxGetTouchPad(int a, int b);
int PnlReleasKey(void);
int PnlStateBarSetDrawState(int show);
int PnlRegisterPauseCallBack(void (*callback)(void), int reserved);
int PnlRegisterResumeCallBack(void (*callback)(void), int reserved);

/* Modal views; their time-outs are seconds (0 or less: no limit). Results: PNL_OK (edit
 * input: the text's length), PNL_CANCELLED, PNL_TIMEOUT, PNL_EMPTY; a list view answers the
 * chosen row. */
int PnlGetEditInput(int32_t hdc, int x, int y, int width, int height, const int *methods,
                    int methodCount, char *out, unsigned int outLength, unsigned int minLength,
                    unsigned int maxLength, int timeout, unsigned int style);
int PnlGetEditInputV2(int32_t hdc, int x, int y, int width, int height, const int *methods,
                      int methodCount, char *out, unsigned int outLength, unsigned int minLength,
                      unsigned int maxLength, int timeout, unsigned int style, const char *info);
int PnlMsgBox(const char *title, const char *message, const char *buttons, int type, int timeout,
              unsigned int style);
int PnlMsgBoxEx(int x, int y, int width, int height, const char *title, const char *message,
                const char *buttons, int type, int timeout, unsigned int style);
int PnlShowEditBox(int32_t hdc, int x, int y, int width, int height, const char *text, int value,
                   unsigned int style);
int PnlGetAmountInput(int32_t hdc, int x, int y, int width, int height, const char *currency,
                      char *amount, int length, unsigned int minLength, unsigned int maxLength,
                      int timeout, unsigned int style);
int PnlGetAmountInputV2(int32_t hdc, int x, int y, int width, int height, const char *currency,
                        char *amount, char *extra, int length, unsigned int minLength,
                        unsigned int maxLength, int timeout, unsigned int style);
int PnlGetPwdInput(int32_t hdc, int x, int y, int width, int height, char *buffer,
                   unsigned int length, unsigned int minLength, unsigned int maxLength, int timeout,
                   unsigned int style);
int PnlGetPinInput(int32_t hdc, int x, int y, int width, int height, const void *layout,
                   int32_t value1, int32_t value2, int32_t value3, const uint8_t *area,
                   void *pointer1, void *pointer2, int value, void *pointer);
int PnlGetIPInput(int32_t hdc, int x, int y, int width, int height, char *buffer,
                  unsigned int length, unsigned int minLength, unsigned int maxLength, int timeout,
                  unsigned int style);
/* Edits the local time T in place (year with century, month 1-12). */
int PnlSetData(struct tm *t, int value);
int PnlShowListEx(int x, int y, int width, int height, const char *title, char **items, int count,
                  int value1, int initial, int value2, unsigned int style);
int PnlShowDoubleListEx(int x, int y, int width, int height, const char *title, char **items,
                        int count, int value1, int initial, int value2, unsigned int style);
int PnlShowList(const char *title, char **items, int count, int value1, int initial, int value2,
                unsigned int style);
int PnlShowDoubleList(const char *title, char **items, int count, int value1, int initial,
                      int value2, unsigned int style);
int PnlShowListWithSlideButtonEx(int x, int y, int width, int height, const char *title,
                                 PnlSlideItem *items, int count, void *pointer, int value,
                                 int flags);
int PnlShowProgressBar(int x, int y, int value1, int value2, int value3, const char *text);

int PnlBeforeElecSignScreenSave(void);
PnlElecSignTransData *PnlGetElecSignTransData(void);
void PnlReleaseElecSignTransData(PnlElecSignTransData *record);

#ifdef __cplusplus
}
#endif

#endif
