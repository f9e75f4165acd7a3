#include "Decimal.h"

#include <cinttypes>
#include <cstdio>

namespace {

// Wrap-around arithmetic without signed-overflow undefined behaviour.
int64_t WrapToSigned(uint64_t value) {
    return static_cast<int64_t>(value);
}

int64_t MultiplyBy10(int64_t value) {
    return WrapToSigned(static_cast<uint64_t>(value) * 10u);
}

} // namespace

Decimal& Decimal::operator=(int64_t n) {
    m_num = n;
    m_dec = 0;
    return *this;
}

std::string Decimal::ToString() const {
    char digits[32];
    std::snprintf(digits, sizeof(digits), "%" PRId64, m_num);
    std::string text(digits);
    const bool negative = !text.empty() && text[0] == '-';
    if (negative) {
        text.erase(0, 1);
    }
    if (m_dec > 0) {
        if (text.size() <= m_dec) {
            text.insert(0, m_dec + 1 - text.size(), '0');
        }
        text.insert(text.size() - m_dec, 1, '.');
    }
    if (negative) {
        text.insert(0, 1, '-');
    }
    return text;
}

bool Decimal::FromString(const std::string& str) {
    m_num = 0;
    m_dec = 0;
    bool negative = false;
    uint64_t num = 0;
    const size_t length = str.size();
    for (size_t i = 0; i < length; ++i) {
        const char c = str[i];
        if (c >= '0' && c <= '9') {
            num = num * 10u + static_cast<uint64_t>(c - '0');
        } else if (c == '.') {
            if (m_dec != 0) {
                m_num = WrapToSigned(num);
                return false;
            }
            // The count of characters after the point, kept modulo 256 like the byte it lives in.
            m_dec = static_cast<byte>(length - 1 - i);
        } else if (c == '-' && i == 0) {
            negative = true;
        } else {
            m_num = WrapToSigned(num);
            return false;
        }
    }
    m_num = WrapToSigned(negative ? 0u - num : num);
    Normalize();
    return true;
}

void Decimal::SetDecimalCount(byte decCount) {
    while (m_dec < decCount) {
        m_num = MultiplyBy10(m_num);
        ++m_dec;
    }
    while (m_dec > decCount) {
        m_num /= 10;
        --m_dec;
    }
}

void Decimal::AlignDecimals(Decimal& l, Decimal& r) {
    if (l.m_dec < r.m_dec) {
        l.SetDecimalCount(r.m_dec);
    } else if (r.m_dec < l.m_dec) {
        r.SetDecimalCount(l.m_dec);
    }
}

byte Decimal::GetDigitCount() const {
    uint64_t value = static_cast<uint64_t>(m_num);
    byte count = 0;
    while (value != 0) {
        value /= 10;
        ++count;
    }
    return count;
}

void Decimal::Normalize() {
    while (m_dec > 0 && m_num % 10 == 0) {
        m_num /= 10;
        --m_dec;
    }
}

Decimal& Decimal::operator+=(const Decimal& r) {
    Decimal right(r);
    AlignDecimals(*this, right);
    m_num = WrapToSigned(static_cast<uint64_t>(m_num) + static_cast<uint64_t>(right.m_num));
    Normalize();
    return *this;
}

Decimal& Decimal::operator-=(const Decimal& r) {
    Decimal right(r);
    AlignDecimals(*this, right);
    m_num = WrapToSigned(static_cast<uint64_t>(m_num) - static_cast<uint64_t>(right.m_num));
    Normalize();
    return *this;
}

uint64_t Decimal::Magnitude() const {
    // Computed in unsigned arithmetic so that the most negative value gives 2^63.
    return m_num < 0 ? 0u - static_cast<uint64_t>(m_num) : static_cast<uint64_t>(m_num);
}

byte Decimal::GetDataByteCount() const {
    uint64_t magnitude = Magnitude();
    byte count = 0;
    while (magnitude != 0) {
        magnitude >>= 8;
        ++count;
    }
    return count;
}

void Decimal::Serialize(byte* buf, byte bufLen, bool& isNegative, byte& decimalCount) const {
    isNegative = m_num < 0;
    decimalCount = m_dec;
    const uint64_t magnitude = Magnitude();
    for (byte i = 0; i < bufLen && i < 8; ++i) {
        buf[i] = static_cast<byte>(magnitude >> (8 * i));
    }
}

void Decimal::Deserialize(const byte* buf, byte bufLen, bool isNegative, byte decimalCount) {
    uint64_t magnitude = 0;
    for (byte i = 0; i < bufLen && i < 8; ++i) {
        magnitude |= static_cast<uint64_t>(buf[i]) << (8 * i);
    }
    m_num = WrapToSigned(isNegative ? 0u - magnitude : magnitude);
    m_dec = decimalCount;
}

Decimal operator*(const Decimal& l, const Decimal& r) {
    Decimal product(WrapToSigned(static_cast<uint64_t>(l.m_num) * static_cast<uint64_t>(r.m_num)),
                    static_cast<byte>(l.m_dec + r.m_dec));
    product.Normalize();
    return product;
}

Decimal Round(const Decimal& decimal, byte decimalCount) {
    byte count = decimal.GetDecimalCount();
    if (decimalCount >= count) {
        return decimal;
    }
    int64_t num = decimal.ToInt64();
    int64_t remainder = 0;
    while (count > decimalCount) {
        remainder = num % 10;
        num /= 10;
        --count;
    }
    // The signed remainder read as an unsigned byte: -1..-9 become 255..247, all above 4.
    if (static_cast<byte>(remainder) > 4) {
        num = WrapToSigned(static_cast<uint64_t>(num) + 1u);
    }
    return Decimal(num, decimalCount);
}

int Compare(const Decimal& l, const Decimal& r) {
    Decimal left(l);
    Decimal right(r);
    Decimal::AlignDecimals(left, right);
    if (left.ToInt64() > right.ToInt64()) {
        return 1;
    }
    return left.ToInt64() < right.ToInt64() ? -1 : 0;
}
