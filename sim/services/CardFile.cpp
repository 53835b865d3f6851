#include "CardFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <cctype>
#include <climits>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "SimService.h"
#include "scenario/scenario.h"

using nlohmann::json;

namespace possim {

namespace {

const size_t kMaxCardFileBytes = 1024 * 1024;
const size_t kMaxMemoryBytes = 4096;
const size_t kMaxApduRows = 1024;
const size_t kMaxMifareSectors = 32;  // 2K: 32 sectors of four blocks
const size_t kMaxFelicaBlocks = 256;
const size_t kMaxTrackLength[3] = {79, 40, 107};

[[noreturn]] void refuse(const std::string &why) {
    throw std::invalid_argument(why);
}

// Hexadecimal text of exactly (or, with SIZE 0, any number of) bytes from LOW to HIGH.
ByteString hexField(const json &object, const std::string &where, const char *key, size_t low,
                    size_t high) {
    const std::string what = where + "." + key;
    auto it = object.find(key);
    if (it == object.end()) {
        if (low == 0) return {};
        refuse(what + ": missing");
    }
    if (!it->is_string()) refuse(what + ": expected hexadecimal text");
    ByteString bytes;
    std::string error;
    if (!parseHex(it->get<std::string>(), bytes, error)) refuse(what + ": " + error);
    if (bytes.size() < low || bytes.size() > high) {
        refuse(what + ": " + std::to_string(bytes.size()) + " bytes, expected " +
               (low == high ? std::to_string(low)
                            : std::to_string(low) + " to " + std::to_string(high)));
    }
    return bytes;
}

// A pattern of hexadecimal bytes, "??" for any byte and a final "*" for any further bytes.
ApduRow apduRow(const json &row, const std::string &where) {
    if (!row.is_object()) refuse(where + ": expected {\"command\": ..., \"response\": ...}");
    ApduRow out;
    auto command = row.find("command");
    if (command == row.end() || !command->is_string()) refuse(where + ".command: missing");
    out.command = command->get<std::string>();
    std::string digits;
    for (char c : out.command) {
        if (!isspace(static_cast<unsigned char>(c))) digits += c;
    }
    if (!digits.empty() && digits.back() == '*') {
        out.openEnded = true;
        digits.pop_back();
    }
    if (digits.size() % 2 != 0) refuse(where + ".command: odd number of digits");
    for (size_t i = 0; i < digits.size(); i += 2) {
        std::string pair = digits.substr(i, 2);
        if (pair == "??") {
            out.bytes.push_back(-1);
            continue;
        }
        ByteString byte;
        std::string error;
        if (!parseHex(pair, byte, error)) refuse(where + ".command: \"" + pair + "\" " + error);
        out.bytes.push_back(byte[0]);
    }
    if (out.bytes.empty() && !out.openEnded) refuse(where + ".command: empty");
    if (out.bytes.size() > kMaxCommandApdu) refuse(where + ".command: longer than an APDU");
    out.response = hexField(row, where, "response", 2, kMaxResponseApdu);
    return out;
}

ApduTable apduTable(const json &part, const std::string &where) {
    ApduTable table;
    if (part.contains("default_sw"))
        table.defaultStatus = hexField(part, where, "default_sw", 2, 2);
    auto rows = part.find("apdus");
    if (rows == part.end()) return table;
    if (!rows->is_array()) refuse(where + ".apdus: expected a list");
    if (rows->size() > kMaxApduRows) refuse(where + ".apdus: more than 1024 rows");
    for (size_t i = 0; i < rows->size(); ++i) {
        table.rows.push_back(apduRow((*rows)[i], where + ".apdus[" + std::to_string(i) + "]"));
    }
    return table;
}

json apduTableJson(const ApduTable &table) {
    json rows = json::array();
    for (const ApduRow &row : table.rows) {
        rows.push_back({{"command", row.command}, {"response", toHex(row.response)}});
    }
    return rows;
}

const json &section(const json &card, const char *key) {
    const json &part = card[key];
    if (!part.is_object()) refuse(std::string(key) + ": expected an object");
    return part;
}

ContactPart contactPart(const json &part) {
    ContactPart out;
    out.atr = hexField(part, "contact", "atr", 2, 33);
    out.apdus = apduTable(part, "contact");
    out.memory = hexField(part, "contact", "memory", 0, kMaxMemoryBytes);
    return out;
}

// Track 1 takes the printable characters from space to underscore; tracks 2 and 3 digits and
// the control characters ":;<=>?".
bool validTrack(const std::string &text, int track) {
    for (char c : text) {
        bool ok = track == 0 ? c >= 0x20 && c <= 0x5F : c >= '0' && c <= '?';
        if (!ok) return false;
    }
    return true;
}

MagstripePart magstripePart(const json &part) {
    MagstripePart out;
    for (int i = 0; i < 3; ++i) {
        std::string key = "track" + std::to_string(i + 1);
        auto it = part.find(key);
        if (it == part.end()) continue;
        if (!it->is_string()) refuse("magstripe." + key + ": expected text");
        std::string text = it->get<std::string>();
        if (text.size() > kMaxTrackLength[i]) {
            refuse("magstripe." + key + ": longer than " + std::to_string(kMaxTrackLength[i]) +
                   " characters");
        }
        if (!validTrack(text, i))
            refuse("magstripe." + key + ": a character the track cannot hold");
        out.tracks[i] = text;
    }
    return out;
}

std::vector<MifareSector> mifareSectors(const json &list) {
    if (!list.is_array() || list.empty() || list.size() > kMaxMifareSectors) {
        refuse("contactless.mifare: expected a list of 1 to 32 sectors");
    }
    std::vector<MifareSector> out;
    for (size_t s = 0; s < list.size(); ++s) {
        const std::string where = "contactless.mifare[" + std::to_string(s) + "]";
        const json &sector = list[s];
        if (!sector.is_object()) refuse(where + ": expected an object");
        MifareSector m;
        m.keyA = hexField(sector, where, "key_a", 6, 6);
        m.keyB = hexField(sector, where, "key_b", 6, 6);
        m.access = hexField(sector, where, "access", 4, 4);
        if (!mifareAccessValid(m.access)) refuse(where + ".access: the inverted bits disagree");
        auto blocks = sector.find("blocks");
        if (blocks == sector.end() || !blocks->is_array() || blocks->size() != 3) {
            refuse(where + ".blocks: expected 3 data blocks");
        }
        for (size_t b = 0; b < 3; ++b) {
            json holder = {{"block", (*blocks)[b]}};
            m.blocks.push_back(hexField(holder, where, "block", 16, 16));
        }
        out.push_back(m);
    }
    return out;
}

FelicaPart felicaPart(const json &part) {
    const std::string where = "contactless.felica";
    if (!part.is_object()) refuse(where + ": expected an object");
    FelicaPart out;
    out.idm = hexField(part, where, "idm", 8, 8);
    out.pmm = part.contains("pmm") ? hexField(part, where, "pmm", 8, 8) : ByteString(8, 0);
    if (part.contains("system_code")) {
        ByteString code = hexField(part, where, "system_code", 2, 2);
        out.systemCode = static_cast<uint16_t>(code[0] << 8 | code[1]);
    }
    auto services = part.find("services");
    if (services == part.end()) return out;
    if (!services->is_object()) refuse(where + ".services: expected an object");
    for (auto it = services->begin(); it != services->end(); ++it) {
        const std::string what = where + ".services." + it.key();
        ByteString code;
        std::string error;
        if (!parseHex(it.key(), code, error) || code.size() != 2) {
            refuse(what + ": a service code is 4 hexadecimal digits");
        }
        if (!it->is_array() || it->size() > kMaxFelicaBlocks) {
            refuse(what + ": expected a list of up to 256 blocks");
        }
        std::vector<ByteString> blocks;
        for (const json &block : *it) {
            json holder = {{"block", block}};
            blocks.push_back(hexField(holder, what, "block", 16, 16));
        }
        out.services[static_cast<uint16_t>(code[0] << 8 | code[1])] = blocks;
    }
    return out;
}

ContactlessPart contactlessPart(const json &part) {
    const std::string where = "contactless";
    ContactlessPart out;
    std::string type = part.value("type", "A");
    if (type != "A" && type != "B" && type != "F") refuse(where + ".type: A, B or F");
    out.type = type[0];
    if (out.type != 'F') {
        out.uid = hexField(part, where, "uid", 4, 10);
        if (out.uid.size() != 4 && out.uid.size() != 7 && out.uid.size() != 10) {
            refuse(where + ".uid: 4, 7 or 10 bytes");
        }
        out.atqa = part.contains("atqa") ? hexField(part, where, "atqa", 2, 2) : ByteString{0, 4};
        out.sak = part.contains("sak") ? hexField(part, where, "sak", 1, 1) : ByteString{0x20};
        out.ats = hexField(part, where, "ats", 0, 20);
    }
    out.apdus = apduTable(part, where);
    if (part.contains("mifare")) out.mifare = mifareSectors(part["mifare"]);
    if (part.contains("felica")) {
        out.hasFelica = true;
        out.felica = felicaPart(part["felica"]);
    }
    if (out.type == 'F' && !out.hasFelica) refuse(where + ": a type F card needs \"felica\"");
    return out;
}

std::string readFile(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) refuse("cannot read card file " + path);
    std::string text;
    char chunk[4096];
    while (in.read(chunk, sizeof chunk) || in.gcount() > 0) {
        text.append(chunk, static_cast<size_t>(in.gcount()));
        if (text.size() > kMaxCardFileBytes) refuse("card file " + path + ": larger than 1 MiB");
    }
    return text;
}

// Only regular files: a device or a pipe named by mistake would hang the service.
bool readable(const std::string &path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && access(path.c_str(), R_OK) == 0;
}

// The directories of the cards shipped with the simulator: beside the program in the build
// tree, under share/ when installed.
std::vector<std::string> shippedCardDirectories() {
    char self[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    if (n <= 0) return {};
    std::string dir(self, static_cast<size_t>(n));
    dir = dir.substr(0, dir.rfind('/') + 1);
    return {dir + "cards/", dir + "../share/pos-sim/cards/"};
}

std::string findCardFile(const std::string &name) {
    if (name.empty()) refuse("no card file named");
    if (readable(name)) return name;
    bool bare = name.find('/') == std::string::npos;
    if (bare) {
        std::string file = name;
        if (file.size() < 5 || file.compare(file.size() - 5, 5, ".json") != 0) file += ".json";
        for (const std::string &dir : shippedCardDirectories()) {
            if (readable(dir + file)) return dir + file;
        }
    }
    refuse("no card file " + name + (bare ? " (nor a shipped card of that name)" : ""));
}

}  // namespace

std::string cardError(int code, const std::string &reason) {
    return "ERROR " + std::to_string(code) + " " + reason;
}

bool parseHex(const std::string &text, ByteString &bytes, std::string &error) {
    bytes.clear();
    int high = -1;
    for (char c : text) {
        if (isspace(static_cast<unsigned char>(c))) continue;
        if (!isxdigit(static_cast<unsigned char>(c))) {
            error = "not hexadecimal";
            return false;
        }
        int digit = isdigit(static_cast<unsigned char>(c)) ? c - '0' : (tolower(c) - 'a' + 10);
        if (high < 0) {
            high = digit;
        } else {
            bytes.push_back(static_cast<uint8_t>(high << 4 | digit));
            high = -1;
        }
    }
    if (high >= 0) {
        error = "odd number of hexadecimal digits";
        return false;
    }
    return true;
}

std::string toHex(const ByteString &bytes) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (uint8_t b : bytes) {
        text += kDigits[b >> 4];
        text += kDigits[b & 0xF];
    }
    return text;
}

const ByteString &ApduTable::answer(const ByteString &command) const {
    for (const ApduRow &row : rows) {
        if (command.size() < row.bytes.size()) continue;
        if (!row.openEnded && command.size() != row.bytes.size()) continue;
        bool match = true;
        for (size_t i = 0; i < row.bytes.size() && match; ++i) {
            match = row.bytes[i] < 0 || row.bytes[i] == command[i];
        }
        if (match) return row.response;
    }
    return defaultStatus;
}

Card cardFromJson(const json &value) {
    if (!value.is_object()) refuse("a card is a JSON object");
    Card card;
    auto name = value.find("name");
    if (name != value.end()) {
        if (!name->is_string()) refuse("name: expected text");
        card.name = name->get<std::string>();
    }
    if (value.contains("contact")) {
        card.hasContact = true;
        card.contact = contactPart(section(value, "contact"));
    }
    if (value.contains("magstripe")) {
        card.hasMagstripe = true;
        card.magstripe = magstripePart(section(value, "magstripe"));
    }
    if (value.contains("contactless")) {
        card.hasContactless = true;
        card.contactless = contactlessPart(section(value, "contactless"));
    }
    if (!card.hasContact && !card.hasMagstripe && !card.hasContactless) {
        refuse("a card needs \"contact\", \"magstripe\" or \"contactless\"");
    }
    return card;
}

json cardToJson(const Card &card) {
    json out = json::object();
    if (!card.name.empty()) out["name"] = card.name;
    if (card.hasContact) {
        const ContactPart &c = card.contact;
        out["contact"] = {{"atr", toHex(c.atr)},
                          {"default_sw", toHex(c.apdus.defaultStatus)},
                          {"apdus", apduTableJson(c.apdus)}};
        if (!c.memory.empty()) out["contact"]["memory"] = toHex(c.memory);
    }
    if (card.hasMagstripe) {
        const auto &t = card.magstripe.tracks;
        out["magstripe"] = {{"track1", t[0]}, {"track2", t[1]}, {"track3", t[2]}};
    }
    if (card.hasContactless) {
        const ContactlessPart &c = card.contactless;
        json part = {{"type", std::string(1, c.type)},
                     {"default_sw", toHex(c.apdus.defaultStatus)},
                     {"apdus", apduTableJson(c.apdus)}};
        if (c.type != 'F') {
            part["uid"] = toHex(c.uid);
            part["atqa"] = toHex(c.atqa);
            part["sak"] = toHex(c.sak);
            if (!c.ats.empty()) part["ats"] = toHex(c.ats);
        }
        if (!c.mifare.empty()) {
            json sectors = json::array();
            for (const MifareSector &s : c.mifare) {
                json blocks = json::array();
                for (const ByteString &b : s.blocks) blocks.push_back(toHex(b));
                sectors.push_back({{"key_a", toHex(s.keyA)},
                                   {"key_b", toHex(s.keyB)},
                                   {"access", toHex(s.access)},
                                   {"blocks", blocks}});
            }
            part["mifare"] = sectors;
        }
        if (c.hasFelica) {
            const FelicaPart &f = c.felica;
            json services = json::object();
            for (const auto &[code, blocks] : f.services) {
                json list = json::array();
                for (const ByteString &b : blocks) list.push_back(toHex(b));
                services[toHex({uint8_t(code >> 8), uint8_t(code & 0xFF)})] = list;
            }
            part["felica"] = {
                {"idm", toHex(f.idm)},
                {"pmm", toHex(f.pmm)},
                {"system_code", toHex({uint8_t(f.systemCode >> 8), uint8_t(f.systemCode & 0xFF)})},
                {"services", services}};
        }
        out["contactless"] = part;
    }
    return out;
}

Card readCard(const json &value) {
    if (!value.is_string()) return cardFromJson(value);
    std::string path = findCardFile(value.get<std::string>());
    json parsed;
    std::string error;
    if (!parseJson(readFile(path), parsed, error)) refuse("card file " + path + ": " + error);
    try {
        return cardFromJson(parsed);
    } catch (const std::invalid_argument &e) {
        refuse("card file " + path + ": " + e.what());
    }
}

std::optional<Card> cardOfState(const json &value) {
    if (value.is_null()) return std::nullopt;
    try {
        return readCard(value);
    } catch (const std::invalid_argument &e) {
        refuse(std::string("card: ") + e.what());
    }
}

json cardState(const std::optional<Card> &card) {
    return card ? cardToJson(*card) : json();
}

std::optional<Card> cardOfEvent(const json &args) {
    if (args.contains("file")) return readCard(json(textOf(args["file"], "file")));
    if (args.contains("card")) return readCard(args["card"]);
    return std::nullopt;
}

namespace {

// The access condition (C1 C2 C3 as a number 0 to 7) of block BLOCK (0 to 3).
int accessCondition(const ByteString &access, int block) {
    int c1 = (access[1] >> (4 + block)) & 1;
    int c2 = (access[2] >> block) & 1;
    int c3 = (access[2] >> (4 + block)) & 1;
    return c1 << 2 | c2 << 1 | c3;
}

// Which keys a right needs: 0 never, 'A', 'B' or 'b' (either key).
char dataBlockKey(int condition, MifareRight right) {
    // Rows: conditions 000 to 111; columns: read, write, increment, decrement.
    static const char kTable[8][4] = {
        {'b', 'b', 'b', 'b'}, {'b', 0, 0, 'b'}, {'b', 0, 0, 0},       {'B', 'B', 0, 0},
        {'b', 'B', 0, 0},     {'B', 0, 0, 0},   {'b', 'B', 'B', 'b'}, {0, 0, 0, 0},
    };
    return kTable[condition][static_cast<int>(right)];
}

char trailerKey(int condition, MifareRight right) {
    // Columns: read access bits, write key A, write access bits, read key B, write key B.
    static const char kTable[8][5] = {
        {'A', 'A', 0, 'A', 'A'}, {'A', 'A', 'A', 'A', 'A'}, {'A', 0, 0, 'A', 0},
        {'b', 'B', 'B', 0, 'B'}, {'b', 'B', 0, 0, 'B'},     {'b', 0, 'B', 0, 0},
        {'b', 0, 0, 0, 0},       {'b', 0, 0, 0, 0},
    };
    if (right == MifareRight::Read) return kTable[condition][0];
    if (right < MifareRight::WriteKeyA) return 0;  // a trailer is no data block
    return kTable[condition]
                 [static_cast<int>(right) - static_cast<int>(MifareRight::WriteKeyA) + 1];
}

bool keyFits(char needed, char kind) {
    return needed == 'b' || (needed != 0 && needed == kind);
}

}  // namespace

bool mifareAccessValid(const ByteString &access) {
    if (access.size() < 3) return false;
    int c1 = access[1] >> 4, c2 = access[2] & 0xF, c3 = access[2] >> 4;
    return (access[0] & 0xF) == (~c1 & 0xF) && (access[0] >> 4) == (~c2 & 0xF) &&
           (access[1] & 0xF) == (~c3 & 0xF);
}

bool mifareAllows(const ByteString &access, int block, char kind, MifareRight right) {
    if (!mifareAccessValid(access) || block < 0 || block > 3) return false;
    int trailer = accessCondition(access, 3);
    // A key B that can be read is data, not a key: it opens nothing.
    if (kind == 'B' && keyFits(trailerKey(trailer, MifareRight::ReadKeyB), 'A')) return false;
    if (block == 3) return keyFits(trailerKey(trailer, right), kind);
    if (static_cast<int>(right) > static_cast<int>(MifareRight::Decrement)) return false;
    return keyFits(dataBlockKey(accessCondition(access, block), right), kind);
}

}  // namespace possim
