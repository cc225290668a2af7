// Strings that know their code page: conversion, copy on write, editing, formatted text.

#include <ztree/ext/strings.h>

#include <iostream>
#include <unordered_map>

int main()
{
    // The same word in two code pages. The tag says how the bytes are read; converting changes both.
    ZString word("M\xFCller", -1, 1252);
    std::cout << word.length() << " bytes in code page " << word.getCodepage() << '\n';
    word.convertTo(65001);
    std::cout << word << ": " << word.length() << " bytes, " << word.characters() << " characters\n";

    // Copies share their bytes until one of them is written to.
    ZString copy = word;
    copy += " & Sons";
    std::cout << word << " | " << copy << '\n';

    // Wide text is UTF-16 on every target; both spellings of a literal will do.
    ZStringW wide(u"Stra\u00DFe 7");
    wide.toupper();
    std::cout << wide << ", " << wide.length() << " units\n";

    // Strip, cut, replace. Nothing here throws for a bad index: it answers with nothing instead.
    ZString line("  key = (value)  ");
    line.trim(nullptr, 3);
    const int equals = line.indexOf('=', 0);
    ZString key = line.substring(0, equals);
    ZString value = line.substring(equals + 1, line.length());
    key.trim(nullptr, 3);
    value.trim(nullptr, 3);
    value.trim("()", 15); // a pair of brackets
    std::cout << '[' << key << "] [" << value << "] " << int(value.getAt(99)) << "\n";

    // Formatted text is bounded, and arguments that fault are reported instead of crashing.
    ZString text;
    text.format("%05d|%-6s|%.2f|%S", 42, "abc", 2.5, ZTEXT("wide"));
    std::cout << text << '\n';

    // Standard containers hash and compare the text.
    std::unordered_map<ZString, int> count;
    for (const char* name : {"nut", "bolt", "nut"})
        ++count[ztree::narrow(name)];
    std::cout << "nut: " << count[ztree::narrow("nut")] << '\n';
}
