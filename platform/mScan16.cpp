#include "platform/mString16.h"

#include <cstdint>

namespace {

bool IsSpace(unsigned short u) { return wcschr16(W16(" \t\n\v\f\r"), u) != nullptr; }

const unsigned short* SkipSpace(const unsigned short* s)
{
    while (IsSpace(*s)) ++s;
    return s;
}

// Value of u as a digit of base, or -1.
int DigitValue(unsigned short u, uint32_t base)
{
    const unsigned short* digits = W16("0123456789abcdef");
    if (u >= 'A' && u <= 'F') u = static_cast<unsigned short>(u + ('a' - 'A'));
    const unsigned short* at = wcschr16(digits, u);
    return (at != nullptr && uint32_t(at - digits) < base) ? int(at - digits) : -1;
}

// Input limited to the field width (-1: no limit).
struct Field {
    const unsigned short* s;
    int32_t left;

    unsigned short Peek() const { return left != 0 ? *s : 0; }
    unsigned short PeekNext() const { return (left < 0 || left > 1) && *s != 0 ? s[1] : 0; }
    void Next()
    {
        ++s;
        if (left > 0) --left;
    }
};

// base 0 takes it from the prefix, as '%i' does.
bool ScanInteger(Field& in, uint32_t base, uint64_t& out)
{
    const bool negative = in.Peek() == '-';
    if (negative || in.Peek() == '+') in.Next();
    const bool hexPrefix = in.Peek() == '0' && (in.PeekNext() == 'x' || in.PeekNext() == 'X');
    if ((base == 16 || base == 0) && hexPrefix) {
        in.Next();
        in.Next();
        base = 16;
    } else if (base == 0) {
        base = in.Peek() == '0' ? 8 : 10;
    }
    uint64_t value = 0;
    bool any = false;
    for (int d; (d = DigitValue(in.Peek(), base)) >= 0; in.Next()) {
        value = value * base + uint32_t(d);
        any = true;
    }
    out = negative ? 0 - value : value;
    return any;
}

void StoreInteger(va_list* args, unsigned short qualifier, uint64_t v)
{
    if (qualifier == 'h')
        *va_arg(*args, unsigned short*) = static_cast<unsigned short>(v);
    else if (qualifier == 'L')
        *va_arg(*args, unsigned long long*) = v;
    else
        *va_arg(*args, unsigned int*) = static_cast<uint32_t>(v);
}

struct IntegerKind {
    unsigned short conv;
    uint32_t base;
};
constexpr IntegerKind kIntegerKinds[] = {{'d', 10}, {'i', 0}, {'u', 10}, {'o', 8}, {'x', 16}, {'X', 16}};

// Scans one conversion other than 'n'; false on a matching failure.
bool ScanOne(Field& in, unsigned short conv, unsigned short qualifier, bool store, va_list* args)
{
    if (conv == 's' || conv == 'c') {
        unsigned short* d = store ? va_arg(*args, unsigned short*) : nullptr;
        if (conv == 'c' && in.left < 0) in.left = 1;
        const int32_t want = in.left;
        int32_t len = 0;
        for (; in.Peek() != 0 && (conv == 'c' || !IsSpace(in.Peek())); in.Next()) {
            if (d) d[len] = in.Peek();
            ++len;
        }
        if (conv == 'c') return len == want;
        if (d) d[len] = 0;
        return len > 0;
    }
    for (const IntegerKind& k : kIntegerKinds) {
        if (k.conv != conv) continue;
        uint64_t v = 0;
        if (!ScanInteger(in, k.base, v)) return false;
        if (store) StoreInteger(args, qualifier, v);
        return true;
    }
    return false;
}

}  // namespace

int swscanf16(const unsigned short* s, const unsigned short* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const unsigned short* in = s;
    int assigned = 0;
    bool inputEnded = false;

    for (const unsigned short* f = fmt; *f != 0; ++f) {
        if (IsSpace(*f)) {
            in = SkipSpace(in);
            continue;
        }
        if (*f != '%' || f[1] == '%') {
            if (*f == '%') {
                ++f;
                in = SkipSpace(in);
            }
            if (*in != *f) {
                inputEnded = *in == 0;
                break;
            }
            ++in;
            continue;
        }
        ++f;
        const bool store = *f != '*';
        if (!store) ++f;
        int32_t width = -1;
        if (*f >= '1' && *f <= '9') {
            uint32_t digits = 0;
            while (*f >= '0' && *f <= '9') digits = digits * 10 + (*f++ - '0');
            width = static_cast<int32_t>(digits & INT32_MAX);
        }
        unsigned short qualifier = 0;
        if (*f == 'h' || *f == 'l' || *f == 'L') {
            qualifier = *f++;
            if (qualifier == 'l' && *f == 'l') {
                qualifier = 'L';
                ++f;
            }
        }
        const unsigned short conv = *f;
        if (conv == 0) break;
        if (conv == 'n') {
            if (store) *va_arg(args, int*) = static_cast<int>(in - s);
            continue;
        }
        if (conv != 'c') in = SkipSpace(in);
        if (*in == 0) {
            inputEnded = true;
            break;
        }
        Field field{in, width};
        if (!ScanOne(field, conv, qualifier, store, &args)) break;
        in = field.s;
        if (store) ++assigned;
    }
    va_end(args);
    return (assigned == 0 && inputEnded) ? -1 : assigned;
}
