// Exact fixed-point numbers: every price, quantity and code exchanged with the ECR.
#pragma once

#include <cstdint>
#include <string>

#include "Types.h"

// The value is m_num / 10^m_dec. The type imposes no canonical form; Normalize gives one (no
// trailing fractional zeros), and parsing and the arithmetic operators apply it. Overflow is
// not detected: the scaled integer wraps around like an unsigned 64-bit number. Nothing here
// throws.
class Decimal {
public:
    // Zero, without decimals.
    Decimal() : m_num(0), m_dec(0) {}
    Decimal(const Decimal& other) = default;
    // Takes both parts as given, without normalising: Decimal(125, 1) is 12.5.
    Decimal(int64_t value, byte decimalCount) : m_num(value), m_dec(decimalCount) {}

    Decimal& operator=(const Decimal& other) = default;
    // The whole number n, without decimals.
    Decimal& operator=(int64_t n);

    // The scaled integer, not the integer part: 12.5 gives 125.
    int64_t ToInt64() const { return m_num; }

    // Always at least one digit before the point; a non-normalised value keeps its zeros:
    // (5, 2) gives "0.05", (-50, 2) gives "-0.50".
    std::string ToString() const;
    // Strict: digits, one optional leading "-" and at most one "."; "" is 0. Normalised on
    // success ("1.20" gives (12, 1)). "-" and "." alone give 0, "5." gives 5, and the decimal
    // count is kept modulo 256, as ECR data has always been read. On false the value is partly
    // built and must not be used.
    bool FromString(const std::string& str);

    // The number of decimal places (m_dec).
    byte GetDecimalCount() const { return m_dec; }
    // Scales the integer to the new count; dropped places are truncated toward zero, added
    // places may wrap around.
    void SetDecimalCount(byte decCount);
    // Brings the operand with fewer decimals to the other's count; values are unchanged unless
    // the scaling wraps around.
    static void AlignDecimals(Decimal& l, Decimal& r);

    // True for a value below zero.
    bool IsNegative() const { return m_num < 0; }
    // Digits of the scaled integer read as unsigned 64-bit, so a negative value counts 19 or 20;
    // 0 for zero.
    byte GetDigitCount() const;
    // Drops trailing fractional zeros: (1200, 2) becomes (12, 0); (1200, 0) stays as it is.
    void Normalize();

    // The exact sum or difference at the larger decimal count, then normalised.
    Decimal& operator+=(const Decimal& r);
    Decimal& operator-=(const Decimal& r);

    // Number of little-endian bytes the magnitude needs: 0 for zero, 1 to 8 otherwise.
    byte GetDataByteCount() const;
    // Writes the first bufLen (at most 8) bytes of the magnitude, least significant first, and
    // returns the sign and the decimal count. REQUIRES: buf holds min(bufLen, 8) bytes.
    void Serialize(byte* buf, byte bufLen, bool& isNegative, byte& decimalCount) const;
    // Replaces the value with bufLen magnitude bytes, least significant first, the sign and the
    // decimal count, without normalising. Callers check that bufLen is at most 8; bytes beyond
    // the eighth are never read.
    void Deserialize(const byte* buf, byte bufLen, bool isNegative, byte decimalCount);

    // The product, with the sum of the decimal counts (modulo 256), normalised.
    friend Decimal operator*(const Decimal& l, const Decimal& r);

private:
    uint64_t Magnitude() const;

    int64_t m_num;
    byte m_dec;
};

// Rounds to decimalCount places on the first dropped digit. That digit is taken as an unsigned
// byte, so a negative value with any non-zero dropped digit moves up toward plus infinity
// (-1.21 gives -1.1); the ECR rounds the same way. A value with more places than decimalCount
// comes back with exactly decimalCount; any other comes back unchanged.
Decimal Round(const Decimal& decimal, byte decimalCount);
// -1, 0 or 1 after aligning the decimal counts.
int Compare(const Decimal& l, const Decimal& r);
Decimal operator*(const Decimal& l, const Decimal& r);
