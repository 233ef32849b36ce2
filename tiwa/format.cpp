// printf for UTF-16 text. One formatter serves both entry points: into a
// bounded buffer, or counting only, so that the estimate is exact.
#include <sys/types.h>
#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <string>
#include <vector>

#include "tiwa/tiwa"

namespace {

// Numeric precision beyond this is cut to it, so that an absurd format cannot
// make the C library build a gigantic intermediate text.
constexpr int kMaxNumericPrecision = 65536;

struct Arguments {
  va_list list;
};

// Where output goes: a bounded buffer (room for `room` units before the
// terminator), or nowhere when only counting. Counts every unit either way.
class Sink {
 public:
  Sink(unsigned short* buffer, size_t room) : buffer_(buffer), room_(room) {}

  void Put(unsigned short unit) {
    if (count_ < room_) buffer_[count_] = unit;
    ++count_;
  }
  void Repeat(unsigned short unit, size_t n) {
    if (count_ < room_) std::fill_n(buffer_ + count_, std::min(n, room_ - count_), unit);
    count_ += n;
  }
  void Put(const unsigned short* units, size_t n) {
    if (count_ < room_) std::copy_n(units, std::min(n, room_ - count_), buffer_ + count_);
    count_ += n;
  }
  size_t count() const { return count_; }

 private:
  unsigned short* buffer_;
  size_t room_;
  size_t count_ = 0;
};

struct Field {
  bool left = false, plus = false, space = false, alternate = false, zero = false, grouping = false;
  size_t width = 0;
  int precision = -1;  // -1: none
  enum Length {
    kNone,
    kChar,
    kShort,
    kLong,
    kLongLong,
    kLongDouble,
    kIntMax,
    kSize,
    kPtrDiff,
    kWide
  } length = kNone;
};

void AppendUnit(std::vector<unsigned short>& out, char32_t code) {
  if (code > 0xFFFF && code <= 0x10FFFF) {
    code -= 0x10000;
    out.push_back(static_cast<unsigned short>(0xD800 + (code >> 10)));
    out.push_back(static_cast<unsigned short>(0xDC00 + (code & 0x3FF)));
  } else {
    out.push_back(static_cast<unsigned short>(code));
  }
}

// 8-bit text in the locale's multibyte encoding, widened; at most `max` units
// come out. A byte that does not decode stands for itself.
std::vector<unsigned short> Widen(const char* text, size_t max) {
  std::vector<unsigned short> out;
  std::mbstate_t state{};
  while (out.size() < max && *text != 0) {
    wchar_t wide;
    const size_t n = std::mbrtowc(&wide, text, MB_LEN_MAX, &state);
    if (n == static_cast<size_t>(-1) || n == static_cast<size_t>(-2) || n == 0) {
      state = std::mbstate_t{};
      out.push_back(static_cast<unsigned char>(*text++));
      continue;
    }
    if (static_cast<char32_t>(wide) > 0xFFFF && out.size() + 2 > max) break;
    AppendUnit(out, static_cast<char32_t>(wide));
    text += n;
  }
  return out;
}

void Pad(Sink& sink, const Field& field, size_t length, unsigned short fill = ' ') {
  if (field.width > length) sink.Repeat(fill, field.width - length);
}

void PutPadded(Sink& sink, const Field& field, const unsigned short* units, size_t n) {
  if (!field.left) Pad(sink, field, n);
  sink.Put(units, n);
  if (field.left) Pad(sink, field, n);
}

// A number formatted by the C library without width, then padded: with
// zeros after the sign and any 0x prefix when asked and allowed, else spaces.
void PutNumber(Sink& sink, const Field& field, const std::string& narrow, bool zero_allowed, bool hex_prefix) {
  const std::vector<unsigned short> body = Widen(narrow.c_str(), SIZE_MAX);
  if (field.zero && !field.left && zero_allowed && field.width > body.size()) {
    size_t prefix = 0;
    if (!body.empty() && (body[0] == '+' || body[0] == '-' || body[0] == ' ')) prefix = 1;
    if (hex_prefix && body.size() >= prefix + 2 && body[prefix] == '0' &&
        (body[prefix + 1] == 'x' || body[prefix + 1] == 'X'))
      prefix += 2;
    sink.Put(body.data(), prefix);
    sink.Repeat('0', field.width - body.size());
    sink.Put(body.data() + prefix, body.size() - prefix);
    return;
  }
  PutPadded(sink, field, body.data(), body.size());
}

// The C library's text for one converted value, with our flags (no width).
template <typename T>
std::string CFormat(const Field& field, const char* length, char conversion, T value) {
  std::string format = "%";
  if (field.plus) format += '+';
  if (field.space) format += ' ';
  if (field.alternate) format += '#';
  if (field.grouping) format += '\'';
  if (field.precision >= 0) format += "." + std::to_string(std::min(field.precision, kMaxNumericPrecision));
  format += length;
  format += conversion;
  const int n = std::snprintf(nullptr, 0, format.c_str(), value);
  if (n <= 0) return {};
  std::string out(static_cast<size_t>(n) + 1, '\0');
  std::snprintf(&out[0], out.size(), format.c_str(), value);
  out.resize(static_cast<size_t>(n));
  return out;
}

long long SignedArgument(Arguments& args, Field::Length length) {
  switch (length) {
    case Field::kChar:
      return static_cast<signed char>(va_arg(args.list, int));
    case Field::kShort:
      return static_cast<short>(va_arg(args.list, int));
    case Field::kLong:
      return va_arg(args.list, long);
    case Field::kLongLong:
    case Field::kLongDouble:
      return va_arg(args.list, long long);
    case Field::kIntMax:
      return va_arg(args.list, intmax_t);
    case Field::kSize:
      return va_arg(args.list, ssize_t);
    case Field::kPtrDiff:
      return va_arg(args.list, ptrdiff_t);
    default:
      return va_arg(args.list, int);
  }
}

unsigned long long UnsignedArgument(Arguments& args, Field::Length length) {
  switch (length) {
    case Field::kChar:
      return static_cast<unsigned char>(va_arg(args.list, unsigned int));
    case Field::kShort:
      return static_cast<unsigned short>(va_arg(args.list, unsigned int));
    case Field::kLong:
      return va_arg(args.list, unsigned long);
    case Field::kLongLong:
    case Field::kLongDouble:
      return va_arg(args.list, unsigned long long);
    case Field::kIntMax:
      return va_arg(args.list, uintmax_t);
    case Field::kSize:
      return va_arg(args.list, size_t);
    case Field::kPtrDiff:
      return static_cast<unsigned long long>(va_arg(args.list, ptrdiff_t));
    default:
      return va_arg(args.list, unsigned int);
  }
}

void StoreCount(Arguments& args, Field::Length length, size_t count) {
  switch (length) {
    case Field::kChar:
      *va_arg(args.list, signed char*) = static_cast<signed char>(count);
      break;
    case Field::kShort:
      *va_arg(args.list, short*) = static_cast<short>(count);
      break;
    case Field::kLong:
      *va_arg(args.list, long*) = static_cast<long>(count);
      break;
    case Field::kLongLong:
    case Field::kLongDouble:
      *va_arg(args.list, long long*) = static_cast<long long>(count);
      break;
    case Field::kIntMax:
      *va_arg(args.list, intmax_t*) = static_cast<intmax_t>(count);
      break;
    case Field::kSize:
      *va_arg(args.list, size_t*) = count;
      break;
    case Field::kPtrDiff:
      *va_arg(args.list, ptrdiff_t*) = static_cast<ptrdiff_t>(count);
      break;
    default:
      *va_arg(args.list, int*) = static_cast<int>(std::min<size_t>(count, INT_MAX));
      break;
  }
}

// Digits of a width or precision, saturating.
size_t ReadNumber(const unsigned short*& f) {
  size_t n = 0;
  while (*f >= '0' && *f <= '9') {
    n = n > (SIZE_MAX / 16) ? SIZE_MAX / 16 : n * 10 + (*f - '0');
    ++f;
  }
  return n;
}

// Length modifiers of one letter that stand alone.
constexpr struct {
  unsigned short letter;
  Field::Length length;
} kSingleLetterLengths[] = {{'q', Field::kLongLong}, {'L', Field::kLongDouble}, {'j', Field::kIntMax},
                            {'z', Field::kSize},     {'t', Field::kPtrDiff},    {'w', Field::kWide}};

// Reads a directive's flags, width, precision and length modifier from `f`,
// just past its '%', taking the arguments that '*' asks for. Leaves `f` on
// the conversion letter.
Field ReadField(const unsigned short*& f, Arguments& args) {
  Field field;
  for (;; ++f) {
    if (*f == '-')
      field.left = true;
    else if (*f == '+')
      field.plus = true;
    else if (*f == ' ')
      field.space = true;
    else if (*f == '#')
      field.alternate = true;
    else if (*f == '0')
      field.zero = true;
    else if (*f == '\'')
      field.grouping = true;
    else
      break;
  }
  if (*f == '*') {
    ++f;
    const int w = va_arg(args.list, int);
    if (w < 0) field.left = true;
    field.width = w < 0 ? static_cast<size_t>(-static_cast<long long>(w)) : static_cast<size_t>(w);
  } else {
    field.width = ReadNumber(f);
  }
  if (*f == '.') {
    ++f;
    if (*f == '*') {
      ++f;
      const int p = va_arg(args.list, int);
      field.precision = p < 0 ? -1 : p;
    } else {
      field.precision = static_cast<int>(std::min<size_t>(ReadNumber(f), INT_MAX));
    }
  }
  switch (*f) {
    case 'h':
      ++f;
      field.length = Field::kShort;
      if (*f == 'h') ++f, field.length = Field::kChar;
      break;
    case 'l':
      ++f;
      field.length = Field::kLong;
      if (*f == 'l') ++f, field.length = Field::kLongLong;
      break;
    case 'I':
      ++f;
      if (f[0] == '6' && f[1] == '4')
        f += 2, field.length = Field::kLongLong;
      else if (f[0] == '3' && f[1] == '2')
        f += 2, field.length = Field::kNone;
      else
        field.length = Field::kSize;
      break;
    default:
      for (const auto& single : kSingleLetterLengths) {
        if (*f == single.letter) {
          ++f;
          field.length = single.length;
          break;
        }
      }
      break;
  }
  return field;
}

// Writes one converted argument; `start` to `end` is the directive's text,
// copied as it stands for a conversion letter that is not known.
void PutConversion(Sink& sink, const Field& field, unsigned short conversion, Arguments& args,
                   const unsigned short* start, const unsigned short* end) {
  static const unsigned short kNull[] = {'(', 'n', 'u', 'l', 'l', ')'};
  const bool narrow_text =
      (conversion == 's' && field.length == Field::kShort) ||
      (conversion == 'S' && field.length != Field::kLong && field.length != Field::kWide);
  const bool narrow_char =
      (conversion == 'c' && field.length == Field::kShort) ||
      (conversion == 'C' && field.length != Field::kLong && field.length != Field::kWide);
  switch (conversion) {
    case 'd':
    case 'i':
      PutNumber(sink, field, CFormat(field, "ll", 'd', SignedArgument(args, field.length)),
                field.precision < 0, false);
      break;
    case 'u':
    case 'o':
    case 'x':
    case 'X':
      PutNumber(sink, field,
                CFormat(field, "ll", static_cast<char>(conversion), UnsignedArgument(args, field.length)),
                field.precision < 0, conversion == 'x' || conversion == 'X');
      break;
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
    case 'a':
    case 'A': {
      std::string text =
          field.length == Field::kLongDouble
              ? CFormat(field, "L", static_cast<char>(conversion), va_arg(args.list, long double))
              : CFormat(field, "", static_cast<char>(conversion), va_arg(args.list, double));
      const bool finite = text.find_first_of("iInN") == std::string::npos;
      PutNumber(sink, field, text, finite, conversion == 'a' || conversion == 'A');
      break;
    }
    case 'p': {
      Field plain = field;
      plain.precision = -1;
      PutNumber(sink, plain, CFormat(plain, "", 'p', va_arg(args.list, void*)), false, true);
      break;
    }
    case 'c':
    case 'C':
      if (narrow_char) {
        const char byte[2] = {static_cast<char>(va_arg(args.list, int)), 0};
        const std::vector<unsigned short> units =
            byte[0] == 0 ? std::vector<unsigned short>{0} : Widen(byte, 2);
        PutPadded(sink, field, units.data(), units.size());
      } else {
        const unsigned short unit = static_cast<unsigned short>(va_arg(args.list, int));
        PutPadded(sink, field, &unit, 1);
      }
      break;
    case 's':
    case 'S': {
      const size_t max = field.precision < 0 ? SIZE_MAX : static_cast<size_t>(field.precision);
      if (narrow_text) {
        const char* text = va_arg(args.list, const char*);
        if (text == nullptr) {
          PutPadded(sink, field, kNull, std::min<size_t>(6, max));
        } else {
          const std::vector<unsigned short> units = Widen(text, max);
          PutPadded(sink, field, units.data(), units.size());
        }
      } else {
        const unsigned short* text = va_arg(args.list, const unsigned short*);
        if (text == nullptr) {
          PutPadded(sink, field, kNull, std::min<size_t>(6, max));
        } else {
          size_t n = 0;
          while (n < max && text[n] != 0) ++n;
          PutPadded(sink, field, text, n);
        }
      }
      break;
    }
    case 'n':
      StoreCount(args, field.length, sink.count());
      break;
    default:  // unknown: copied as it stands, no argument taken
      sink.Put(start, static_cast<size_t>(end - start));
      break;
  }
}

void Run(Sink& sink, const unsigned short* f, Arguments& args) {
  while (*f != 0) {
    if (*f != '%') {
      sink.Put(*f++);
      continue;
    }
    const unsigned short* start = f++;
    if (*f == '%') {
      sink.Put('%');
      ++f;
      continue;
    }
    const Field field = ReadField(f, args);
    const unsigned short conversion = *f;
    if (conversion == 0) {  // a directive cut off by the end: copied as it stands
      sink.Put(start, static_cast<size_t>(f - start));
      break;
    }
    ++f;
    PutConversion(sink, field, conversion, args, start, f);
  }
}

}  // namespace

extern "C" {

int tiwa_vswprintf(unsigned short* buffer, size_t size, const unsigned short* format, va_list arguments) {
  if (size == 0 || buffer == nullptr) return -1;
  Arguments args;
  va_copy(args.list, arguments);
  Sink sink(buffer, size - 1);
  Run(sink, format, args);
  va_end(args.list);
  const size_t count = sink.count();
  buffer[std::min(count, size - 1)] = 0;
  return count <= size - 1 && count <= static_cast<size_t>(INT_MAX) ? static_cast<int>(count) : -1;
}

int tiwa_estimateformatsize(const unsigned short* format, va_list arguments) {
  Arguments args;
  va_copy(args.list, arguments);
  Sink sink(nullptr, 0);
  Run(sink, format, args);
  va_end(args.list);
  return static_cast<int>(std::min<size_t>(sink.count(), INT_MAX));
}

}  // extern "C"
