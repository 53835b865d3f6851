/* Display, keys and touch, and the modal input views, drawn by the terminal's UI library.
 *
 * The user area is 800 x 1280; the six text lines are numbered 0 to 5. Texts are UTF-8 and
 * are converted to GBK before they reach the UI library. Call Disp_vInit (or Disp_vInitEx)
 * before anything else of this family. */
#ifndef POS_SDK_DISP_H
#define POS_SDK_DISP_H

#include <stdint.h>

#include "pos_export.h"

POS_BEGIN_DECLS

/* A point passed by value. */
typedef struct POINT_T {
    int32_t x;
    int32_t y;
} POINT_T;

/* Device contexts handed out by the UI library: the main surface (all drawing goes here),
 * the status bar and the tip layer. Set by Disp_vInit / Disp_vInitEx. */
POS_API extern int32_t g_hMdc;
POS_API extern int32_t g_hBdc;
POS_API extern int32_t g_hTipdc;

/* Key codes returned by Disp_GetKey: 0-9 and 14-19; -1 for time-out or any other key. */
#define DISP_KEY_NONE (-1)

/* Input-method bits of Disp_nUserInputView's mask and Disp_nUserInputViewEx's array. */
#define DISP_INPUT_METHOD_1 0x01
#define DISP_INPUT_METHOD_2 0x02
#define DISP_INPUT_METHOD_3 0x04
#define DISP_INPUT_METHOD_4 0x08

/* Date record filled by Disp_nShowDateInputView. */
typedef struct DISP_DATE_T {
    uint8_t second;
    uint8_t minute;
    uint8_t hour;
    uint8_t day;   /* day of the month, 1-31 */
    uint8_t month; /* 1-12 */
    int32_t year;  /* with century */
} DISP_DATE_T;

/* One element of Disp_nShowListWithSlideButtonEx's array (stride 34 bytes). */
typedef struct DISP_SLIDE_ITEM_T {
    char text[33]; /* UTF-8, zero-terminated */
    uint8_t state; /* switch position, written back */
} DISP_SLIDE_ITEM_T;

/* PIN pad layout, shared with the UI library. */
typedef struct DISP_PINPAD_LAYOUT_T {
    uint8_t uiOnly[20]; /* read by the UI library only */
    int32_t value1;
    int32_t value2;
    int32_t value3;
    uint8_t area[64];
    void *pointer1;
    void *pointer2;
} DISP_PINPAD_LAYOUT_T;

/* ---- initialisation, geometry ---- */
POS_API void Disp_vInit(void);
POS_API void Disp_vInitEx(int showStatusBar);
/* Writes 0, 800, 0, 1280; every pointer must be non-null. */
POS_API void Disp_vGetUserDisplayRange(int *pnStartX, int *pnEndX, int *pnStartY, int *pnEndY);
/* Inclusive at both ends: 0..800, 0..1280 and 0..5. */
POS_API int _is_in_range_x(int32_t x);
POS_API int _is_in_range_y(int32_t y);
POS_API int _is_in_range_line(int32_t line);
/* The UI library's style bits for the SDK style word STYLE. */
POS_API unsigned int GetShowStyle(unsigned int style);

/* ---- text lines (at most 62 characters; longer text is cut) ---- */
POS_API void Disp_vShowStr(uint8_t line, uint8_t style, uint8_t pattern, const char *fmt, ...)
    __attribute__((format(printf, 4, 5)));
/* The second argument is accepted and not used. */
POS_API void Disp_vShowStrAt(uint8_t line, uint8_t unused, const char *fmt, ...)
    __attribute__((format(printf, 3, 4)));
POS_API void Disp_vShowStrAtEx(uint8_t line, uint8_t pattern, const char *fmt, ...)
    __attribute__((format(printf, 3, 4)));
/* Right-to-left text, handed to the UI library without conversion. */
POS_API void Disp_vShowPersianStr(uint8_t line, uint8_t pattern, const char *fmt, ...)
    __attribute__((format(printf, 3, 4)));
POS_API void Disp_vClearLine(uint8_t line);

/* ---- drawing on the main surface ---- */
POS_API void Disp_vClearPort(void);
POS_API void Disp_vCleanArea(int x, int y, int width, int height);
/* Colour index: 0 black, 1 white, 2 0x00f7de, 3 red; anything else black. */
POS_API void Disp_vDrawLineAt(int x1, int y1, int x2, int y2, int width, int colourIndex);
POS_API void Disp_vDrawRectWithColor(int x, int y, int width, int height, int colour);
POS_API void Disp_vDrawTextA(int x1, int y1, int x2, int y2, const char *text, int length,
                             unsigned int pattern);
/* 24-bit RGB pixels, magenta (0xff00ff) transparent; PCBMPDATA must be non-null. */
POS_API void Disp_vShowImage(unsigned char *pcBmpData, unsigned int dataLength, POINT_T point,
                             unsigned int width, unsigned int height);
POS_API void Disp_vShowLogoView(const unsigned char *logo, const char *text);
POS_API void Disp_vSetSysFont(int font);
POS_API void Disp_vLightOn(void);
POS_API void Disp_vLightOff(void);
POS_API void Disp_vSetStatusBarStatus(int on);

/* ---- keys and touch ---- */
POS_API int Disp_GetKey(int timeout);
POS_API int Disp_GetTouchPadAxis(int *x, int *y, int timeout);
POS_API int Disp_GetKeyLinux(int a, int b);
POS_API int Disp_GetTouchPadLinux(int a, int b);
POS_API int Disp_ReleasKey(void);
POS_API void Disp_vRegisterPauseCallBack(void (*callback)(void));
POS_API void Disp_vRegisterResumeCallBack(void (*callback)(void));

/* ---- modal views: 0 done, -1 bad argument, -2 and -3 as each view documents ---- */
POS_API int Disp_nUserInputView(int x, int y, int width, int height, unsigned int minLength,
                                unsigned int maxLength, unsigned int methodMask,
                                unsigned int bufferLength, char *pOutBuffer, int timeout,
                                unsigned int style);
/* More than five recognised codes in PINPUTMETHOD are refused (-1). */
POS_API int Disp_nUserInputViewEx(int x, int y, int width, int height, unsigned int minLength,
                                  unsigned int maxLength, const int *pInputMethod, int methodCount,
                                  unsigned int bufferLength, char *pOutBuffer, int timeout,
                                  unsigned int style);
POS_API int Disp_nUserInputViewExEx(int x, int y, int width, int height, unsigned int minLength,
                                    unsigned int maxLength, const int *pInputMethod,
                                    int methodCount, unsigned int bufferLength, char *pOutBuffer,
                                    int timeout, unsigned int style, const char *pszInfo);
POS_API int Disp_nMessageBox(const char *title, int boxType, int timeout, unsigned int style,
                             const char *fmt, ...) __attribute__((format(printf, 5, 6)));
POS_API int Disp_nMessageBoxEx(int x, int y, int width, int height, const char *title, int boxType,
                               int timeout, unsigned int style, const char *fmt, ...)
    __attribute__((format(printf, 9, 10)));
/* 0 Chinese button texts, 1 English (the default); anything above 1 selects English. */
POS_API void Disp_nSetMsgBoxLanguage(uint8_t language);
POS_API int Disp_nShowEditBox(int x, int y, int width, int height, int value, unsigned int style,
                              const char *fmt, ...) __attribute__((format(printf, 7, 8)));
POS_API int Disp_nShowEditBoxEx(int x, int y, int width, int height, int value, unsigned int style,
                                const char *text);
/* NLENOFBUFFER must be at least 12. */
POS_API int Disp_nShowAmountInputView(int x, int y, int width, int height,
                                      const char *pszCurrencyFlag, unsigned int minLength,
                                      unsigned int maxLength, int nLenOfBuffer, char *pszAmount,
                                      int timeout, unsigned int style);
POS_API int Disp_nShowAmountInputViewEx(int x, int y, int width, int height,
                                        const char *pszCurrencyFlag, unsigned int minLength,
                                        unsigned int maxLength, int nLenOfBuffer, char *pszAmount,
                                        int timeout, unsigned int style, char *pszExtra);
POS_API int Disp_nShowPasswdInputView(int x, int y, int width, int height, unsigned int minLength,
                                      unsigned int maxLength, unsigned int bufferLength,
                                      char *buffer, int timeout, unsigned int style);
/* LENGTH must be at least 8; it is checked, not used. */
POS_API int Disp_nShowPINPADInputView(int x, int y, int width, int height,
                                      DISP_PINPAD_LAYOUT_T *layout, int length, int value,
                                      void *pointer);
/* BUFFERLENGTH must be at least 16. */
POS_API int Disp_nShowIPInputLine(int x, int y, int width, int height, unsigned int minLength,
                                  unsigned int maxLength, unsigned int bufferLength, char *buffer,
                                  int timeout, unsigned int style);
POS_API int Disp_nShowDateInputView(DISP_DATE_T *date, int value);
POS_API int Disp_nShowListView(int x, int y, int width, int height, const char *title, char **items,
                               int count, int value1, int initialSelection, int value2,
                               int *selection, unsigned int style);
POS_API int Disp_nShowListViewEx(const char *title, char **items, int count, int value1,
                                 int initialSelection, int value2, int *selection,
                                 unsigned int style);
/* Two-column lists: ITEMS holds the left and right texts of each row in turn. */
POS_API int Disp_nShowTableView(int x, int y, int width, int height, const char *title,
                                char **items, int count, int value1, int initialSelection,
                                int value2, int *selection, unsigned int style);
POS_API int Disp_nShowTableViewEx(const char *title, char **items, int count, int value1,
                                  int initialSelection, int value2, int *selection,
                                  unsigned int style);
POS_API int Disp_nShowListWithSlideButtonEx(int x, int y, int width, int height, const char *title,
                                            DISP_SLIDE_ITEM_T *items, int count, void *pointer,
                                            int value);
POS_API int Disp_nShowProgressBar(int x, int y, int value1, int value2, const char *text,
                                  int value3);

/* Electronic signature: the signature image goes to POUT (its length to *PNOUTLEN).
 * PSZTEXT is at most 31 bytes. */
POS_API int Disp_nElecSign(unsigned char *pOut, int *pnOutLen, const char *pszText, int value1,
                           int value2, int value3, int value4, int value5, int value6);
POS_API int Disp_nElecSignEx(unsigned char *pOut, int *pnOutLen, const char *pszText, int value1,
                             int value2, int value3, int value4, int value5, int value6,
                             float ratio);

/* A new array of COUNT GBK copies of ITEMS (null on allocation failure); Freelist releases
 * each copy and then the array. */
POS_API char **ConvertList(int count, char **items);
POS_API void Freelist(int count, char **list);

POS_END_DECLS

#endif
