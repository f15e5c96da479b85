"""Decimal, currency and date arithmetic for the extension's conversions.

DATE is days since 1899-12-30 as a double; before that day the whole part
is negative and the fraction still counts forward (-1.25 is 1899-12-29 06:00).
A double keeps about 50 microseconds at the far end of the range, so times
come back rounded to the millisecond.
"""
import datetime
import decimal

_EPOCH = datetime.datetime(1899, 12, 30)
_MAX_SCALE = 28
_MAX_MANTISSA = (1 << 96) - 1


def decimal_parts(value):
    """(negative, low 64 bits, high 32 bits, scale) of a DECIMAL."""
    if not value.is_finite():
        raise ValueError("a DECIMAL holds no infinity or NaN")
    sign, digits, exponent = value.as_tuple()
    mantissa = int("".join(map(str, digits)) or "0")
    if exponent > 0:
        mantissa *= 10 ** exponent
        exponent = 0
    scale = -exponent
    if scale > _MAX_SCALE:  # rounded to the finest DECIMAL, half to even
        q = decimal.Decimal(1).scaleb(-_MAX_SCALE)
        return decimal_parts(value.quantize(q, rounding=decimal.ROUND_HALF_EVEN,
                                            context=decimal.Context(prec=60)))
    while mantissa > _MAX_MANTISSA and scale > 0:
        mantissa = (mantissa + 5) // 10
        scale -= 1
    if mantissa > _MAX_MANTISSA:
        raise OverflowError("value does not fit in a DECIMAL")
    return (bool(sign), mantissa & 0xFFFFFFFFFFFFFFFF, mantissa >> 64, scale)


def decimal_from_parts(negative, lo64, hi32, scale):
    mantissa = (hi32 << 64) | lo64
    return decimal.Decimal((1 if negative else 0, tuple(int(d) for d in str(mantissa)), -scale))


def currency_to_decimal(int64):
    """A CY is an integer count of ten-thousandths."""
    return decimal.Decimal(int64).scaleb(-4)


def datetime_to_date(value):
    if not isinstance(value, datetime.datetime):
        value = datetime.datetime(value.year, value.month, value.day)
    delta = value.replace(tzinfo=None) - _EPOCH
    fraction = (delta.seconds + delta.microseconds / 1e6) / 86400.0
    return delta.days + fraction if delta.days >= 0 else delta.days - fraction


def date_to_datetime(date):
    whole = int(date)  # toward zero
    fraction = abs(date - whole)
    milli = round(fraction * 86400e3)
    return _EPOCH + datetime.timedelta(days=whole, milliseconds=milli)
