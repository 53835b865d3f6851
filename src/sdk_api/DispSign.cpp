// Electronic signature: the signature application "pnl_elec_sign" captures the signature and
// leaves its images in a transfer record that the UI library hands back.
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#include <panelui/panelui.h>

#include "pos_sdk/app.h"
#include "pos_sdk/disp.h"
#include "pos_sdk/log.h"

static_assert(offsetof(PnlElecSignTransData, length1) == 4 &&
                  offsetof(PnlElecSignTransData, image1) == 8 &&
                  offsetof(PnlElecSignTransData, length2) == 0x25808 &&
                  offsetof(PnlElecSignTransData, image2) == 0x2580C,
              "signature transfer record layout");

namespace {

constexpr int kSignArgs = 8;
using SignArgs = char[kSignArgs][32];

// The argument strings: the text, the six values and the ratio ("0" without one). Returns
// false when the values are refused.
bool buildSignArgs(SignArgs &args, const char *text, const int (&values)[6], const char *last) {
    if (values[0] < 0 || values[3] > 300 || values[4] > 150) return false;
    // The text fills string 0; longer than 31 bytes it is cut so the block stays whole.
    snprintf(args[0], sizeof args[0], "%s", text != nullptr ? text : " ");
    for (int i = 0; i < 6; ++i) snprintf(args[1 + i], sizeof args[1 + i], "%d", values[i]);
    snprintf(args[7], sizeof args[7], "%s", last);
    return true;
}

int copyImage(const int32_t &length, const uint8_t *image, unsigned char *out, int *outLength) {
    int32_t n = length;
    // A length past the image area is the application's fault; never copy beyond the area.
    if (n < 0) n = 0;
    if (n > PNL_SIGN_IMAGE_BYTES) n = PNL_SIGN_IMAGE_BYTES;
    memcpy(out, image, static_cast<size_t>(n));
    *outLength = n;
    return 0;
}

int elecSign(unsigned char *pOut, int *pnOutLen, SignArgs &args, bool firstImage) {
    PnlBeforeElecSignScreenSave();
    int rc = OsRunAppEx("pnl_elec_sign", kSignArgs, args);
    if (rc != 0) return rc;
    PnlElecSignTransData *record = PnlGetElecSignTransData();
    if (record == nullptr) {
        OsLog(0, "signRet == NULL");
        return -1;
    }
    int result = -1;
    if (record->status == '0') {
        result = firstImage ? copyImage(record->length1, record->image1, pOut, pnOutLen)
                            : copyImage(record->length2, record->image2, pOut, pnOutLen);
    } else {
        *pnOutLen = 0;
    }
    PnlReleaseElecSignTransData(record);
    return result;
}

}  // namespace

POS_API int Disp_nElecSign(unsigned char *pOut, int *pnOutLen, const char *pszText, int value1,
                           int value2, int value3, int value4, int value5, int value6) {
    SignArgs args;
    memset(args, 0, sizeof args);
    const int values[6] = {value1, value2, value3, value4, value5, value6};
    if (pOut == nullptr || pnOutLen == nullptr || !buildSignArgs(args, pszText, values, "0"))
        return -1;
    return elecSign(pOut, pnOutLen, args, false);
}

POS_API int Disp_nElecSignEx(unsigned char *pOut, int *pnOutLen, const char *pszText, int value1,
                             int value2, int value3, int value4, int value5, int value6,
                             float ratio) {
    SignArgs args;
    memset(args, 0, sizeof args);
    const int values[6] = {value1, value2, value3, value4, value5, value6};
    char ratioText[32];
    snprintf(ratioText, sizeof ratioText, "%f", static_cast<double>(ratio));
    if (pOut == nullptr || pnOutLen == nullptr || !(ratio >= 0.0f && ratio <= 1.0f) ||
        !buildSignArgs(args, pszText, values, ratioText)) {
        OsLog(0, "params check err");
        return -1;
    }
    return elecSign(pOut, pnOutLen, args, ratio != 0.0f);
}
