#include "MagcardService.h"

#include <pos_sdk/service/IMagcardManager.h>

#include <nlohmann/json.hpp>

#include <stdexcept>

using android::IMagcardManager;
using android::Parcel;
using nlohmann::json;

namespace possim {

namespace {

const int kAllTracks = 7;  // bit 0 track 1, bit 1 track 2, bit 2 track 3

}  // namespace

MagcardService::MagcardService(const json &section)
    : SimService("com.kivo.device.manager.IMagcardManager") {
    load(section);
    onStatus(IMagcardManager::OPEN, [this](const Parcel &request, ReplyFields &) {
        (void)request.readInt32();  // the mode: one way of reading is simulated
        mState.open = true;
        return 0;
    });
    onStatus(IMagcardManager::CLOSE, [this](const Parcel &, ReplyFields &) {
        mState.open = mState.read = false;
        return 0;
    });
    onStatus(IMagcardManager::READ, [this](const Parcel &request, ReplyFields &) {
        int tracks = request.readInt32();
        int timeout = request.readInt32();
        return timeout < 0 ? kCardBadArgument : read(tracks);
    });
    onText(IMagcardManager::READ_DATA,
           [this](const Parcel &request, ReplyFields &) { return readData(request.readInt32()); });
    onStatus(IMagcardManager::WRITE,
             [this](const Parcel &request, ReplyFields &) { return write(request); });
    // The status says whether the reader is open; the value whether a swipe waits.
    onStatus(IMagcardManager::STATUS, [this](const Parcel &, ReplyFields &out) {
        out.i32(mState.swiped ? 1 : 0);
        return mState.open ? 0 : kCardNotOpen;
    });
    onStatus(IMagcardManager::CANCEL, [this](const Parcel &, ReplyFields &) {
        if (!mState.open) return kCardNotOpen;
        mState.swiped = mState.read = false;
        return 0;
    });
}

json MagcardService::state() const {
    return {{"card", cardState(mState.card)},
            {"swiped", mState.swiped},
            {"open", mState.open},
            {"read", mState.read},
            {"read_data", mState.readData},
            {"swipes", mState.swipes}};
}

void MagcardService::load(const json &values) {
    if (!values.is_object()) throw std::invalid_argument("expected an object");
    State s = mState;
    if (values.contains("card")) s.card = cardOfState(values["card"]);
    takeBool(values, "swiped", s.swiped);
    takeBool(values, "open", s.open);
    takeBool(values, "read", s.read);
    if (values.contains("read_data")) {
        const json &data = values["read_data"];
        if (!data.is_array() || data.size() != 3) {
            throw std::invalid_argument("read_data: expected three texts");
        }
        for (size_t i = 0; i < 3; ++i) s.readData[i] = textOf(data[i], "read_data");
    }
    takeInt(values, "swipes", s.swipes);
    if (s.swiped && !(s.card && s.card->hasMagstripe)) {
        throw std::invalid_argument("swiped: there is no card with a magnetic stripe");
    }
    mState = std::move(s);
}

// swipe [file=NAME | card=JSON]: a card goes through the reader (without a name: the last one
// again). The swipe waits until it is read or cancelled; a later swipe replaces it.
void MagcardService::event(const std::string &name, const json &args) {
    if (name != "swipe") return SimService::event(name, args);
    std::optional<Card> card = cardOfEvent(args);
    if (!card && !mState.card) throw std::invalid_argument("swipe needs file=NAME");
    if (card && !card->hasMagstripe) throw std::invalid_argument("the card has no magnetic stripe");
    if (card) mState.card = std::move(card);
    mState.swiped = true;
    ++mState.swipes;
}

int MagcardService::read(int tracks) {
    if (!mState.open) return kCardNotOpen;
    if (tracks < 1 || tracks > kAllTracks) return kCardBadArgument;
    if (!mState.swiped) return kCardNoSwipe;
    for (int i = 0; i < 3; ++i) {
        mState.readData[i] = (tracks >> i & 1) ? mState.card->magstripe.tracks[i] : "";
    }
    mState.swiped = false;
    mState.read = true;
    return kCardDone;
}

std::string MagcardService::readData(int track) const {
    if (!mState.open) return cardError(kCardNotOpen, "the reader is not open");
    if (track < 1 || track > 3) return cardError(kCardBadArgument, "tracks are 1 to 3");
    if (!mState.read) return cardError(kCardNoSwipe, "nothing has been read");
    return mState.readData[track - 1];
}

int MagcardService::write(const Parcel &request) {
    std::array<std::string, 3> tracks;
    for (std::string &track : tracks) track = readCString(request);
    (void)request.readInt32();  // the coercivity mode: the simulated head writes any card
    if (!mState.open) return kCardNotOpen;
    if (!mState.card || !mState.card->hasMagstripe) return kCardAbsent;
    // Checked as a card file's tracks are, then written: all of them or none.
    json stripe = json::object();
    for (int i = 0; i < 3; ++i) {
        stripe["track" + std::to_string(i + 1)] =
            tracks[i].empty() ? mState.card->magstripe.tracks[i] : tracks[i];
    }
    try {
        mState.card->magstripe = cardFromJson({{"magstripe", stripe}}).magstripe;
    } catch (const std::invalid_argument &) {
        return kCardBadArgument;
    }
    return kCardDone;
}

}  // namespace possim
