#pragma once
// Cases that run for the narrow and the wide class alike: texts are written once, in ASCII.

#include <ztree/types.h>

#include <gtest/gtest.h>

#include <string>

class ZString;
class ZStringW;
class ZAttrib;
class ZAttribW;
class ZAttribList;
class ZAttribWList;
class ZTokenizer;
class ZTokenizerW;
class ZTBranch;
class ZTBranchW;
class ZTree;
class ZTreeW;
class ZXmlTag;
class ZXmlTagW;
class ZXmlReader;
class ZXmlReaderW;
class ZXmlFile;
class ZXmlFileW;

/// The classes of one width.
template <class Unit> struct Twin {
    using Ch = Unit;
    template <class Narrow, class Wide> using Of = std::conditional_t<sizeof(Ch) == 1, Narrow, Wide>;
    using String = Of<ZString, ZStringW>;
    using Attrib = Of<ZAttrib, ZAttribW>;
    using List = Of<ZAttribList, ZAttribWList>;
    using Tokenizer = Of<ZTokenizer, ZTokenizerW>;
    using Branch = Of<ZTBranch, ZTBranchW>;
    using Tree = Of<ZTree, ZTreeW>;
    using Tag = Of<ZXmlTag, ZXmlTagW>;
    using Reader = Of<ZXmlReader, ZXmlReaderW>;
    using File = Of<ZXmlFile, ZXmlFileW>;
};
using BothTwins = ::testing::Types<Twin<char>, Twin<zwchar>>;
using BothUnits = ::testing::Types<char, zwchar>;

template <class Ch> std::basic_string<Ch> widen(const std::string& ascii)
{
    return std::basic_string<Ch>(ascii.begin(), ascii.end());
}
template <class Ch> std::string narrow(const Ch* text)
{
    std::string out;
    for (; text && *text; ++text)
        out += static_cast<char>(*text);
    return text ? out : "(null)";
}
