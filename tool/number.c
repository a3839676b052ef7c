/* Reals as JSON numbers. */
#include <float.h>
#include <math.h>
#include <stdlib.h>
#include <string.h>

#include "tool.h"

/* A positive real: the digits d.ddd times ten to the exponent. */
typedef struct decimal {
  char digits[REAL_SIZE];
  int count;
  int exponent;
} decimal;

/* The nearest decimal with `count` digits. */
static decimal nearest(double value, int count) {
  char text[REAL_SIZE];
  snprintf(text, sizeof text, "%.*e", count - 1, value);
  decimal d = {.count = count, .exponent = atoi(strchr(text, 'e') + 1)};
  d.digits[0] = text[0];
  memcpy(d.digits + 1, text + 2, (size_t)count - 1);
  return d;
}

/* Adds one to the last digit. */
static void count_up(decimal *d) {
  int last = d->count - 1;
  for (; last > 0 && d->digits[last] == '9'; last--)
    d->digits[last] = '0';
  if (d->digits[last] == '9')
    d->exponent++;
  d->digits[last] = (char)(d->digits[last] == '9' ? '1' : d->digits[last] + 1);
}

/* Rounds the nearest decimal with 17 digits to fewer. The result is the nearest one with
   that many digits, unless exactly half a digit is cut off: that half may itself be a
   result of rounding. */
static decimal shorten(double value, decimal d, int count) {
  const char *rest = d.digits + count;
  if (*rest == '5' && strspn(rest + 1, "0") == (size_t)(d.count - count - 1))
    return nearest(value, count);
  bool up = *rest >= '5';
  d.count = count;
  if (up)
    count_up(&d);
  return d;
}

static bool reads_back(double value, const decimal *d) {
  char text[2 * REAL_SIZE];
  memcpy(text, d->digits, (size_t)d->count);
  snprintf(text + d->count, REAL_SIZE, "e%d", d->exponent - d->count + 1);
  return strtod(text, NULL) == value;
}

/* The decimal with the fewest digits. Different decimals of 15 digits are different
   reals, except denormal ones. Reals below a power of two are closer together than those
   above it: there the nearest decimal of a length may miss the real, and the next one up
   hit it. */
static decimal shortest(double value) {
  int exponent;
  bool is_power = frexp(value, &exponent) == 0.5;
  decimal all = nearest(value, 17);
  for (int count = value < DBL_MIN ? 1 : 15; count < 17; count++) {
    decimal d = shorten(value, all, count);
    if (reads_back(value, &d))
      return d;
    count_up(&d);
    if (is_power && reads_back(value, &d))
      return d;
  }
  return all;
}

/* Writes a real that is a decimal with a few digits after the point, as most reals are.
   The quotient of two whole numbers that a double holds exactly is the real nearest to
   the decimal, so the decimal reads back as this real. Returns the length; 0 for other
   reals. */
static size_t short_decimal(double value, char number[REAL_SIZE]) {
  double size = fabs(value);
  if (!(size >= 1e-5 && size < 1e9))
    return 0;
  int places = 0;
  double power = 1;
  for (; places <= 6; places++, power *= 10) {
    double digits = nearbyint(size * power);
    if (digits / power == size)
      break;
  }
  if (places > 6)
    return 0;
  unsigned long long digits = (unsigned long long)nearbyint(size * power);
  char *end = number + REAL_SIZE, *c = end;
  if (places == 0)
    *--c = '0';
  for (int i = 0; i < places; i++, digits /= 10)
    *--c = (char)('0' + digits % 10);
  *--c = '.';
  do
    *--c = (char)('0' + digits % 10);
  while ((digits /= 10) != 0);
  if (value < 0)
    *--c = '-';
  memmove(number, c, (size_t)(end - c));
  return (size_t)(end - c);
}

size_t json_real(double value, char number[REAL_SIZE]) {
  size_t short_length = short_decimal(value, number);
  if (short_length != 0)
    return short_length;
  decimal d = shortest(fabs(value));
  int count = d.count, exponent = d.exponent;
  while (count > 1 && d.digits[count - 1] == '0')
    count--;

  const char *sign = signbit(value) ? "-" : "";
  static const char zeros[] = "0000000000000000";
  int length;
  if (exponent < -5 || exponent > 16)
    length = snprintf(number, REAL_SIZE, "%s%c%s%.*se%d", sign, *d.digits,
                      count > 1 ? "." : "", count - 1, d.digits + 1, exponent);
  else if (exponent < 0)
    length = snprintf(number, REAL_SIZE, "%s0.%.*s%.*s", sign, -exponent - 1, zeros, count,
                      d.digits);
  else if (count <= exponent + 1)
    length = snprintf(number, REAL_SIZE, "%s%.*s%.*s.0", sign, count, d.digits,
                      exponent + 1 - count, zeros);
  else
    length = snprintf(number, REAL_SIZE, "%s%.*s.%.*s", sign, exponent + 1, d.digits,
                      count - exponent - 1, d.digits + exponent + 1);
  return (size_t)length;
}
