// The fields of numbers, dates, times and amounts.

#include "csv/field_shell.h"

using namespace ztree_impl;

namespace varnik::ztree {

csvChar::csvChar(unsigned short id, char* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvChar::csvChar(unsigned short id, const char* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvChar::csvChar(unsigned short id, long offset, unsigned long flags) noexcept
    : csvField(id, offset, sizeof(char), flags)
{
}

int csvChar::read(ZStringW& text) const
{
    return readText(*this, Kind::int8, text);
}

int csvChar::write(const ZStringW& text) const
{
    return writeText(*this, Kind::int8, text);
}

csvField* csvChar::clone() const
{
    return cloneOf(*this);
}

int csvChar::read(char* value) const
{
    return readValue(*this, value);
}

int csvChar::write(char value) const
{
    return writeValue(*this, value);
}

csvByte::csvByte(unsigned short id, unsigned char* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvByte::csvByte(unsigned short id, const unsigned char* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvByte::csvByte(unsigned short id, long offset, unsigned long flags) noexcept
    : csvField(id, offset, sizeof(unsigned char), flags)
{
}

int csvByte::read(ZStringW& text) const
{
    return readText(*this, Kind::uint8, text);
}

int csvByte::write(const ZStringW& text) const
{
    return writeText(*this, Kind::uint8, text);
}

csvField* csvByte::clone() const
{
    return cloneOf(*this);
}

int csvByte::read(unsigned char* value) const
{
    return readValue(*this, value);
}

int csvByte::write(unsigned char value) const
{
    return writeValue(*this, value);
}

csvShort::csvShort(unsigned short id, short* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvShort::csvShort(unsigned short id, const short* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvShort::csvShort(unsigned short id, long offset, unsigned long flags) noexcept
    : csvField(id, offset, sizeof(short), flags)
{
}

int csvShort::read(ZStringW& text) const
{
    return readText(*this, Kind::int16, text);
}

int csvShort::write(const ZStringW& text) const
{
    return writeText(*this, Kind::int16, text);
}

csvField* csvShort::clone() const
{
    return cloneOf(*this);
}

int csvShort::read(short* value) const
{
    return readValue(*this, value);
}

int csvShort::write(short value) const
{
    return writeValue(*this, value);
}

csvUshort::csvUshort(unsigned short id, unsigned short* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvUshort::csvUshort(unsigned short id, const unsigned short* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvUshort::csvUshort(unsigned short id, long offset, unsigned long flags) noexcept
    : csvField(id, offset, sizeof(unsigned short), flags)
{
}

int csvUshort::read(ZStringW& text) const
{
    return readText(*this, Kind::uint16, text);
}

int csvUshort::write(const ZStringW& text) const
{
    return writeText(*this, Kind::uint16, text);
}

csvField* csvUshort::clone() const
{
    return cloneOf(*this);
}

int csvUshort::read(unsigned short* value) const
{
    return readValue(*this, value);
}

int csvUshort::write(unsigned short value) const
{
    return writeValue(*this, value);
}

csvUint::csvUint(unsigned short id, unsigned int* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvUint::csvUint(unsigned short id, const unsigned int* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvUint::csvUint(unsigned short id, long offset, unsigned long flags) noexcept
    : csvField(id, offset, sizeof(unsigned int), flags)
{
}

int csvUint::read(ZStringW& text) const
{
    return readText(*this, Kind::uint32, text);
}

int csvUint::write(const ZStringW& text) const
{
    return writeText(*this, Kind::uint32, text);
}

csvField* csvUint::clone() const
{
    return cloneOf(*this);
}

int csvUint::read(unsigned int* value) const
{
    return readValue(*this, value);
}

int csvUint::write(unsigned int value) const
{
    return writeValue(*this, value);
}

csvLong::csvLong(unsigned short id, zlong* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvLong::csvLong(unsigned short id, const zlong* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvLong::csvLong(unsigned short id, long offset, unsigned long flags) noexcept
    : csvField(id, offset, sizeof(zlong), flags)
{
}

int csvLong::read(ZStringW& text) const
{
    return readText(*this, Kind::long32, text);
}

int csvLong::write(const ZStringW& text) const
{
    return writeText(*this, Kind::long32, text);
}

csvField* csvLong::clone() const
{
    return cloneOf(*this);
}

int csvLong::read(zlong* value) const
{
    return readValue(*this, value);
}

int csvLong::write(zlong value) const
{
    return writeValue(*this, value);
}

// Kept: the offset constructors of csvInt, csvUlong and csvDouble hand their flags on as the size and 0 as
// the flags; records laid out with such fields rely on them having no flags.

csvInt::csvInt(unsigned short id, int* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvInt::csvInt(unsigned short id, const int* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvInt::csvInt(unsigned short id, long offset, unsigned long flags) noexcept
    : csvField(id, offset, static_cast<unsigned int>(flags), 0)
{
}

int csvInt::read(ZStringW& text) const
{
    return readText(*this, Kind::int32, text);
}

int csvInt::write(const ZStringW& text) const
{
    return writeText(*this, Kind::int32, text);
}

csvField* csvInt::clone() const
{
    return cloneOf(*this);
}

int csvInt::read(int* value) const
{
    return readValue(*this, value);
}

int csvInt::write(int value) const
{
    return writeValue(*this, value);
}

csvUlong::csvUlong(unsigned short id, zulong* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvUlong::csvUlong(unsigned short id, const zulong* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvUlong::csvUlong(unsigned short id, long offset, unsigned long flags) noexcept
    : csvField(id, offset, static_cast<unsigned int>(flags), 0)
{
}

int csvUlong::read(ZStringW& text) const
{
    return readText(*this, Kind::ulong32, text);
}

int csvUlong::write(const ZStringW& text) const
{
    return writeText(*this, Kind::ulong32, text);
}

csvField* csvUlong::clone() const
{
    return cloneOf(*this);
}

int csvUlong::read(zulong* value) const
{
    return readValue(*this, value);
}

int csvUlong::write(zulong value) const
{
    return writeValue(*this, value);
}

csvDouble::csvDouble(unsigned short id, double* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvDouble::csvDouble(unsigned short id, const double* value, unsigned long flags) noexcept
    : csvField(id, bytesOf(value), sizeof *value, flags)
{
}

csvDouble::csvDouble(unsigned short id, long offset, unsigned long flags) noexcept
    : csvField(id, offset, static_cast<unsigned int>(flags), 0)
{
}

int csvDouble::read(ZStringW& text) const
{
    return readText(*this, Kind::real, text);
}

int csvDouble::write(const ZStringW& text) const
{
    return writeText(*this, Kind::real, text);
}

csvField* csvDouble::clone() const
{
    return cloneOf(*this);
}

int csvDouble::read(double* value) const
{
    return readValue(*this, value);
}

int csvDouble::write(double value) const
{
    return writeValue(*this, value);
}

// --- dates, times, amounts ---

csvDate::csvDate(unsigned short id, zulong* value, unsigned long flags) noexcept : csvUlong(id, value, flags)
{
}

csvDate::csvDate(unsigned short id, const zulong* value, unsigned long flags) noexcept
    : csvUlong(id, value, flags)
{
}

csvDate::csvDate(unsigned short id, long offset, unsigned long flags) noexcept : csvUlong(id, offset, flags)
{
}

int csvDate::read(ZStringW& text) const
{
    return readText(*this, Kind::date, text);
}

int csvDate::write(const ZStringW& text) const
{
    return writeText(*this, Kind::date, text);
}

csvField* csvDate::clone() const
{
    return cloneOf(*this);
}

csvTime::csvTime(unsigned short id, zulong* value, unsigned long flags) noexcept : csvUlong(id, value, flags)
{
}

csvTime::csvTime(unsigned short id, const zulong* value, unsigned long flags) noexcept
    : csvUlong(id, value, flags)
{
}

csvTime::csvTime(unsigned short id, long offset, unsigned long flags) noexcept : csvUlong(id, offset, flags)
{
}

int csvTime::read(ZStringW& text) const
{
    return readText(*this, Kind::time, text);
}

int csvTime::write(const ZStringW& text) const
{
    return writeText(*this, Kind::time, text);
}

csvField* csvTime::clone() const
{
    return cloneOf(*this);
}

csvXDate::csvXDate(unsigned short id, unsigned short* value, unsigned long flags) noexcept
    : csvUshort(id, value, flags)
{
}

csvXDate::csvXDate(unsigned short id, const unsigned short* value, unsigned long flags) noexcept
    : csvUshort(id, value, flags)
{
}

csvXDate::csvXDate(unsigned short id, long offset, unsigned long flags) noexcept
    : csvUshort(id, offset, flags)
{
}

int csvXDate::read(ZStringW& text) const
{
    return readText(*this, Kind::dayNumber, text);
}

int csvXDate::write(const ZStringW& text) const
{
    return writeText(*this, Kind::dayNumber, text);
}

csvField* csvXDate::clone() const
{
    return cloneOf(*this);
}

csvZTime::csvZTime(unsigned short id, short* value, unsigned long flags) noexcept : csvShort(id, value, flags)
{
}

csvZTime::csvZTime(unsigned short id, const short* value, unsigned long flags) noexcept
    : csvShort(id, value, flags)
{
}

csvZTime::csvZTime(unsigned short id, long offset, unsigned long flags) noexcept : csvShort(id, offset, flags)
{
}

int csvZTime::read(ZStringW& text) const
{
    return readText(*this, Kind::minutes, text);
}

int csvZTime::write(const ZStringW& text) const
{
    return writeText(*this, Kind::minutes, text);
}

csvField* csvZTime::clone() const
{
    return cloneOf(*this);
}

csvAmount::csvAmount(unsigned short id, double* value, unsigned long flags) noexcept
    : csvDouble(id, value, flags)
{
}

csvAmount::csvAmount(unsigned short id, const double* value, unsigned long flags) noexcept
    : csvDouble(id, value, flags)
{
}

csvAmount::csvAmount(unsigned short id, long offset, unsigned long flags) noexcept
    : csvDouble(id, offset, flags)
{
}

int csvAmount::read(ZStringW& text) const
{
    return readText(*this, Kind::amount, text);
}

int csvAmount::write(const ZStringW& text) const
{
    return writeText(*this, Kind::amount, text);
}

csvField* csvAmount::clone() const
{
    return cloneOf(*this);
}

} // namespace varnik::ztree
