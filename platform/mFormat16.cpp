#include "platform/mString16.h"

#include <cstdint>
#include <limits>

namespace {

enum : unsigned { ZEROPAD = 1, SIGNED = 2, PLUS = 4, SPACE = 8, LEFT = 16, SPECIAL = 32, LARGE = 64 };

// The cursor always advances, so the result is the length the whole output needs; a unit is
// stored only while it lies within the caller's n units.
struct Out {
    unsigned short* buf;
    uint32_t n;
    uint32_t pos;

    void Put(unsigned short u)
    {
        if (pos < n) buf[pos] = u;
        ++pos;
    }
    void Repeat(unsigned short u, int64_t count)
    {
        for (; count > 0; --count) Put(u);
    }
    // Units [at, at + units) lie before the last unit, which is kept for the terminator.
    bool FitsBeforeEnd(uint32_t at, uint32_t units) const { return uint64_t(at) + units < n; }
    // Raw values land in the units' memory in the targets' (little-endian) byte order.
    void StoreRaw(uint32_t at, uint64_t value, uint32_t bytes)
    {
        if (!FitsBeforeEnd(at, bytes)) return;
        auto* raw = reinterpret_cast<unsigned char*>(buf + at);
        for (uint32_t i = 0; i < bytes; ++i) raw[i] = static_cast<unsigned char>(value >> (8 * i));
    }
};

struct Conversion {
    unsigned flags = 0;
    int32_t width = -1;      // -1: absent
    int32_t precision = -1;  // -1: absent
    unsigned short qualifier = 0;  // 0, 'h', 'l' or 'L'
};

struct FlagUnit {
    unsigned short unit;
    unsigned flag;
};
constexpr FlagUnit kFlagUnits[] = {{'+', PLUS}, {'0', ZEROPAD}, {'-', LEFT}, {'#', SPECIAL}, {' ', SPACE}};

struct IntegerKind {
    unsigned short conv;
    uint32_t base;
    unsigned flags;
};
constexpr IntegerKind kIntegerKinds[] = {
    {'d', 10, SIGNED}, {'i', 10, SIGNED}, {'u', 10, 0}, {'o', 8, 0}, {'x', 16, 0}, {'X', 16, LARGE},
};

bool IsDigit(unsigned short u) { return u >= '0' && u <= '9'; }

int32_t ReadDigits(const unsigned short*& f)
{
    uint32_t value = 0;
    while (IsDigit(*f)) value = value * 10 + (*f++ - '0');
    return static_cast<int32_t>(value);
}

// Reads flags, width, precision and qualifier; f is left on the conversion unit.
Conversion Parse(const unsigned short*& f, va_list* args)
{
    Conversion c;
    for (bool more = true; more;) {
        more = false;
        for (const FlagUnit& fu : kFlagUnits)
            if (*f == fu.unit) {
                c.flags |= fu.flag;
                ++f;
                more = true;
            }
    }
    if (IsDigit(*f)) {
        c.width = ReadDigits(f);
    } else if (*f == '*') {
        ++f;
        c.width = va_arg(*args, int);
        if (c.width < 0) {
            c.flags |= LEFT;
            c.width = static_cast<int32_t>(0u - static_cast<uint32_t>(c.width));
        }
    }
    if (*f == '.') {
        ++f;
        c.precision = 0;
        if (IsDigit(*f)) {
            c.precision = ReadDigits(f);
        } else if (*f == '*') {
            ++f;
            c.precision = va_arg(*args, int);
        }
        if (c.precision < 0) c.precision = 0;
    }
    if (*f == 'h' || *f == 'l' || *f == 'L') {
        c.qualifier = *f++;
        if (c.qualifier == 'l' && *f == 'l') {
            c.qualifier = 'L';
            ++f;
        }
    }
    return c;
}

uint64_t ReadInteger(va_list* args, unsigned short qualifier, bool isSigned)
{
    if (qualifier == 'L') return va_arg(*args, unsigned long long);
    const int v = va_arg(*args, int);
    if (qualifier == 'h') return isSigned ? uint64_t(int64_t(int16_t(v))) : uint16_t(v);
    return isSigned ? uint64_t(int64_t(v)) : uint32_t(v);
}

void Number(Out& o, uint64_t num, uint32_t base, int64_t width, int64_t precision, unsigned flags)
{
    static const char kLower[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    static const char kUpper[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    const char* digits = (flags & LARGE) ? kUpper : kLower;
    // LEFT overrides ZEROPAD through the order of the steps below.
    const unsigned short pad = (flags & ZEROPAD) ? '0' : ' ';
    unsigned short sign = 0;
    if (flags & SIGNED) {
        if (num >> 63) {
            sign = '-';
            num = 0 - num;
        } else if (flags & PLUS) {
            sign = '+';
        } else if (flags & SPACE) {
            sign = ' ';
        }
        if (sign) --width;
    }
    if (flags & SPECIAL) width -= base == 16 ? 2 : (base == 8 ? 1 : 0);

    char tmp[64];
    int64_t count = 0;
    do {
        tmp[count++] = digits[num % base];
        num /= base;
    } while (num != 0);
    if (count > precision) precision = count;
    width -= precision;

    if (!(flags & (ZEROPAD | LEFT))) {
        o.Repeat(' ', width);
        width = 0;
    }
    if (sign) o.Put(sign);
    if ((flags & SPECIAL) && (base == 8 || base == 16)) {
        o.Put('0');
        if (base == 16) o.Put(static_cast<unsigned short>(digits[33]));
    }
    if (!(flags & LEFT)) {
        o.Repeat(pad, width);
        width = 0;
    }
    o.Repeat('0', precision - count);
    while (count > 0) o.Put(static_cast<unsigned short>(tmp[--count]));
    o.Repeat(' ', width);
}

// Out-of-range values saturate and NaN gives 0, as the ARM targets convert.
template <class T>
T TruncateSaturated(double v)
{
    const double top = -static_cast<double>(std::numeric_limits<T>::min());  // 2^31 or 2^63
    if (v != v) return 0;
    if (v >= top) return std::numeric_limits<T>::max();
    if (v <= -top) return std::numeric_limits<T>::min();
    return static_cast<T>(v);
}

// Truncated, never rounded, and a value between -1 and 0 loses its sign: kept so that
// numbers read exactly as they always have in the logs.
void Float(Out& o, double value, int64_t width, int64_t precision)
{
    static const double kPow10[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10};
    if (precision < 0) precision = 6;
    if (precision > 9) precision = 10;
    const int32_t whole = TruncateSaturated<int32_t>(value);
    Number(o, uint64_t(int64_t(whole)), 10, width - precision - 1, -1, SIGNED);
    o.Put('.');
    const int64_t fraction = TruncateSaturated<int64_t>((value - whole) * kPow10[precision]);
    Number(o, fraction < 0 ? 0 - uint64_t(fraction) : uint64_t(fraction), 10, -1, precision, 0);
}

void Text(Out& o, const unsigned short* s, const Conversion& c)
{
    // A null string prints as an empty one rather than faulting.
    const uint32_t len = s ? wcsnlen16(s, static_cast<uint32_t>(c.precision)) : 0;
    const int64_t pad = int64_t(c.width) - len;
    if (!(c.flags & LEFT)) o.Repeat(' ', pad);
    for (uint32_t i = 0; i < len; ++i) o.Put(s[i]);
    // '%0s' embeds a terminator after the text and counts it; kept on purpose.
    if (c.flags & ZEROPAD) o.Put(0);
    if (c.flags & LEFT) o.Repeat(' ', pad);
}

void Char(Out& o, unsigned short u, const Conversion& c)
{
    if (!(c.flags & LEFT)) o.Repeat(' ', int64_t(c.width) - 1);
    o.Put(u);
    if (c.flags & LEFT) o.Repeat(' ', int64_t(c.width) - 1);
}

// Byte sizes of the raw conversions. The cursor then moves as many units as the value has
// bytes; that mismatch is the required behaviour, not a slip.
uint32_t RawBytes(unsigned short conv, int32_t width)
{
    if (width == 1) return 1;
    if (conv == 'b') return (width == 2 || width == 8) ? uint32_t(width) : 4;
    return width == 4 ? 4 : 2;
}

const IntegerKind* FindIntegerKind(unsigned short conv)
{
    for (const IntegerKind& k : kIntegerKinds)
        if (k.conv == conv) return &k;
    return nullptr;
}

}  // namespace

int vswprintf16(unsigned short* buf, unsigned int n, const unsigned short* fmt, va_list ap)
{
    va_list args;
    va_copy(args, ap);
    Out o{buf, n, 0};
    bool haveSlot = false;
    uint32_t slotAt = 0, slotBytes = 0;

    for (const unsigned short* f = fmt; *f != 0; ++f) {
        if (*f != '%') {
            o.Put(*f);
            continue;
        }
        Conversion c = Parse(++f, &args);
        const unsigned short conv = *f;
        if (conv == 0) {
            o.Put('%');
            break;
        }
        switch (conv) {
        case '%':
            o.Put('%');
            break;
        case 'c':
            Char(o, static_cast<unsigned short>(va_arg(args, int)), c);
            break;
        case 's':
            Text(o, va_arg(args, const unsigned short*), c);
            break;
        case 'p': {
            const uint64_t v = va_arg(args, unsigned long long);
            if (c.width == -1) {
                c.width = 10;
                c.flags |= ZEROPAD;
            }
            Number(o, uint32_t(v), 16, c.width, c.precision, c.flags | SPECIAL);
            break;
        }
        case 'f':
            Float(o, va_arg(args, double), c.width, c.precision);
            break;
        case 'b': {
            const uint64_t v = va_arg(args, unsigned long long);
            const uint32_t bytes = RawBytes(conv, c.width);
            o.StoreRaw(o.pos, v, bytes);
            o.pos += bytes;
            break;
        }
        case 'n':
            haveSlot = true;
            slotAt = o.pos;
            slotBytes = RawBytes(conv, c.width);
            o.pos += slotBytes;
            break;
        default:
            if (const IntegerKind* k = FindIntegerKind(conv)) {
                const uint64_t v = ReadInteger(&args, c.qualifier, k->flags & SIGNED);
                Number(o, v, k->base, c.width, c.precision, c.flags | k->flags);
            } else {
                o.Put('%');
                o.Put(conv);
            }
        }
    }
    va_end(args);

    if (o.pos >= n) {
        if (n != 0) buf[n - 1] = 0;
    } else {
        buf[o.pos] = 0;
    }
    if (haveSlot && o.FitsBeforeEnd(slotAt, slotBytes)) {
        const uint32_t written = (o.pos < n - 1 ? o.pos : n - 1) - slotAt;
        o.StoreRaw(slotAt, written - slotBytes, slotBytes);
    }
    return static_cast<int>(o.pos);
}

int swprintf16(unsigned short* buf, unsigned int n, const unsigned short* fmt, ...)
{
    va_list ap;
    va_start(ap, fmt);
    const int len = vswprintf16(buf, n, fmt, ap);
    va_end(ap);
    return len;
}
