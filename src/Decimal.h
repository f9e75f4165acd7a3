// Exact fixed-point numbers: every price, quantity and code exchanged with the ECR.
#pragma once

#include <cstdint>
#include <string>

typedef unsigned char byte;
typedef unsigned short ushort;

// The value is m_num / 10^m_dec. The type imposes no canonical form; Normalize gives one (no
// trailing fractional zeros), and parsing and the arithmetic operators apply it. Overflow is
// not detected: the scaled integer wraps around like an unsigned 64-bit number.
class Decimal {
public:
    Decimal() : m_num(0), m_dec(0) {}
    Decimal(const Decimal& other) = default;
    // Takes both parts as given, without normalising.
    Decimal(int64_t value, byte decimalCount) : m_num(value), m_dec(decimalCount) {}

    Decimal& operator=(const Decimal& other) = default;
    Decimal& operator=(int64_t n);

    // The scaled integer, not the integer part: 12.5 gives 125.
    int64_t ToInt64() const { return m_num; }

    // Always at least one digit before the point; a non-normalised value keeps its zeros.
    std::string ToString() const;
    // Strict: digits, one optional leading "-" and at most one "."; the empty text is 0.
    // On false the value is partly built and must not be used.
    bool FromString(const std::string& str);

    byte GetDecimalCount() const { return m_dec; }
    // Scales the integer to the new count; dropped places are truncated toward zero.
    void SetDecimalCount(byte decCount);
    // Brings the operand with fewer decimals to the other's count; values are unchanged.
    static void AlignDecimals(Decimal& l, Decimal& r);

    bool IsNegative() const { return m_num < 0; }
    // Digits of the scaled integer read as unsigned 64-bit, so a negative value counts 19 or 20.
    byte GetDigitCount() const;
    void Normalize();

    Decimal& operator+=(const Decimal& r);
    Decimal& operator-=(const Decimal& r);

    // Number of little-endian bytes the magnitude needs: 0 for zero, 1 to 8 otherwise.
    byte GetDataByteCount() const;
    // Writes the first bufLen (at most 8) bytes of the magnitude, least significant first.
    void Serialize(byte* buf, byte bufLen, bool& isNegative, byte& decimalCount) const;
    // Reads bufLen magnitude bytes, least significant first. Callers check that bufLen is at
    // most 8; bytes beyond the eighth are never read.
    void Deserialize(const byte* buf, byte bufLen, bool isNegative, byte decimalCount);

    friend Decimal operator*(const Decimal& l, const Decimal& r);

private:
    uint64_t Magnitude() const;

    int64_t m_num;
    byte m_dec;
};

// Rounds to decimalCount places on the first dropped digit. That digit is taken as an unsigned
// byte, so a negative value with any non-zero dropped digit moves up toward plus infinity
// (-1.21 gives -1.1); the ECR rounds the same way. The result keeps exactly decimalCount places.
Decimal Round(const Decimal& decimal, byte decimalCount);
// -1, 0 or 1 after aligning the decimal counts.
int Compare(const Decimal& l, const Decimal& r);
Decimal operator*(const Decimal& l, const Decimal& r);
