#pragma once
/// @file helpers.h
/// Hex dump lines, numbered backups, registry values and class identifiers. No function here throws,
/// locks or keeps state that a caller could see; any thread may call them.

#include <ztree/types.h>
#include <ztree/winnames.h>

/// Formats one line of a hexadecimal dump: the address in eight digits (its low 32 bits), ": ", up to 16
/// bytes as two upper-case digits each with a blank after every fourth, and from column 47 the bytes
/// themselves, "." for those that are not printable ASCII; then CR, LF and a terminating zero.
///     00001000: 41420043 44                          AB.CD
///   length  all bytes that are left; the caller advances data and address by the result and calls again
///   line    at least 66 bytes, see size
/// Returns the bytes consumed, at most 16; -1 and nothing written when size is below 66. When the bytes
/// cannot all be read, a message with address and length is written instead, as much as fits: its length
/// is returned, or -1 when it was cut (then there is no terminator).
ZTREE_API int formatDump(unsigned long address, const unsigned char* data, unsigned int length,
                         unsigned char* line, unsigned int size);

/// Room to set aside for the dump of so many bytes: 64 a line of 16 bytes, and the result is odd. A full
/// line has 65 characters, so take it as a growth step, not as the size of a fixed buffer.
ZTREE_API int dumpSize(unsigned long bytes);

/// Moves a file aside: app.log becomes app000.log, app001.log ... up to number max - 1. The first free
/// number is taken; when there is none, the backup with the oldest write time is replaced. Of the
/// extension, the dot and three characters are kept (app.html: app000.htm).
///   path  UTF-8 on Linux, ANSI code page on Windows; the backup's name is made of its first 257 bytes
/// Returns 2 when a free number was found, -1 when the oldest backup was replaced: then the file has been
/// moved. With another result, a system error code, it stays where it is; and with -1 when the name has no
/// extension, max is below 1 or every backup was written later than now. A backup that cannot be opened is
/// passed over: when the oldest of the others is replaced, the file has been moved although the result is the
/// code of the last such one.
ZTREE_API int backupFile(const char* path, int max);

/// Writes a registry value.
///   subKey  created when missing; null: the value belongs to root itself
///   name    null: the default value
///   data    null: an empty text is written (with a subKey and no name nothing but the key)
///   size    bytes; 0 with type REG_SZ stands for the text with its terminator
///   key     may be null; with a subKey it receives the open key, which the caller closes (RegCloseKey),
///           also where the value could not be written; else null
/// Returns the system's result, 0 for success. On Linux keys and values are folders and files below
/// $ZTREE_REGISTRY, else $XDG_CONFIG_HOME/ztree/registry, else ~/.config/ztree/registry.
ZTREE_API long setRegKeyValue(HKEY root, const char* subKey, const char* name, const char* data,
                              unsigned long type, unsigned long size, HKEY* key);

/// The class identifier of a programmatic identifier such as "Vendor.Class" or "Vendor.Class.1", from
/// HKEY_CLASSES_ROOT; a name without an identifier of its own is followed to its current version.
/// Returns 0; 0x80070000 + system code for a registry step that failed (0x80070002: not registered);
/// the result of the conversion for a malformed identifier (0x800401F3). clsid is set on success only.
ZTREE_API int getClassIdFromName(const char* name, GUID& clsid);

/// The programmatic identifier of a class, terminated, in at most size bytes. Returns 0 or a code as
/// above (0x800700EA: it is longer); then out holds "".
ZTREE_API int getNameFromClassId(GUID clsid, char* out, int size);

#if !defined(_WIN32)
/// Closes a key that setRegKeyValue handed out. Returns 0, 6 for null.
ZTREE_API long RegCloseKey(HKEY key);
#endif
