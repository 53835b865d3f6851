// The simulated PIN pad's cryptography, on libcrypto's triple DES: key check values, ISO 9564
// format 0 PIN blocks, ANSI X9.19 and ISO 9797-1 MACs, ECB and CBC data encryption, and DUKPT
// as ANSI X9.24-1 defines it for triple DES (initial key, transaction keys, key serial number
// counter, key variants).
//
// Keys are 8, 16 or 24 bytes (single, double or triple length); an 8-byte key is single DES.
// Functions that take key and data lengths from their callers expect them checked: they are
// the service's, which refuses bad input before it gets here.
#ifndef POS_SIM_PINPAD_CRYPTO_H
#define POS_SIM_PINPAD_CRYPTO_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace possim {
namespace pinpad {

using Data = std::vector<uint8_t>;
using Block = std::array<uint8_t, 8>;

// Hexadecimal text (either case, even length, nothing else) into bytes; false otherwise.
bool fromHex(const std::string &text, Data &out);
// Upper-case hexadecimal text.
std::string toHex(const uint8_t *data, size_t size);
inline std::string toHex(const Data &data) {
    return toHex(data.data(), data.size());
}
inline std::string toHex(const Block &block) {
    return toHex(block.data(), block.size());
}

// Every byte has an odd number of one bits, as DES keys are made.
bool hasOddParity(const Data &key);
bool validKeyLength(size_t length);  // 8, 16 or 24

// ECB over whole blocks (SIZE a multiple of 8); IN and OUT may be the same buffer.
void ecb(const Data &key, const uint8_t *in, uint8_t *out, size_t size, bool encrypt);
// CBC with a zero starting vector over whole blocks.
Data cbc(const Data &key, const Data &data, bool encrypt);

// The key check value: the key's encryption of a zero block, as upper-case hexadecimal text
// of its first SIZE bytes.
std::string checkValue(const Data &key, size_t size = 3);

// A primary account number of 13 to 19 digits.
bool validPan(const std::string &pan);

// The ISO 9564 format 0 clear PIN block of PIN (4 to 12 digits) and PAN (its twelve digits
// left of the check digit are taken; at least 13 digits). False when either is malformed.
bool pinBlockFormat0(const std::string &pin, const std::string &pan, Block &out);

// Data for a MAC is padded with zero bytes to whole blocks (ISO 9797-1 padding method 1);
// empty data is one zero block.
// ANSI X9.19 retail MAC (ISO 9797-1 MAC algorithm 3): single DES CBC under the key's first
// half, the last block then decrypted under the second half and encrypted under the first.
Block retailMac(const Data &key, const Data &data);
// ISO 9797-1 MAC algorithm 1 with the whole (triple DES) key: the last CBC block.
Block cbcMac(const Data &key, const Data &data);

// DUKPT (triple DES). A key serial number is 10 bytes; its last 21 bits are the transaction
// counter.
using Ksn = std::array<uint8_t, 10>;
const uint32_t kDukptCounterMask = 0x1FFFFF;

uint32_t dukptCounter(const Ksn &ksn);
// The initial key that the base derivation key BDK (16 bytes) gives the device of KSN.
Data dukptInitialKey(const Data &bdk, const Ksn &ksn);
// The transaction key of KSN, from the device's initial key (16 bytes).
Data dukptTransactionKey(const Data &initialKey, const Ksn &ksn);
// The variants of a transaction key for PIN encryption, MACs (request direction) and data
// encryption (request direction, made one-way by encrypting each half under the variant).
Data dukptPinKey(const Data &transactionKey);
Data dukptMacKey(const Data &transactionKey);
Data dukptDataKey(const Data &transactionKey);
// Moves KSN's counter to the next value with at most ten one bits, as a device does; false
// (KSN unchanged) when the counter has no such value left.
bool dukptAdvance(Ksn &ksn);

}  // namespace pinpad
}  // namespace possim

#endif
