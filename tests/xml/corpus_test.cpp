// The files of corpus_files on every target: bad_* are refused, the others read back as they were written.

#include "xml/support.h"

#include <filesystem>

namespace {

namespace fs = std::filesystem;

using XmlCorpusTest = HeapTest;

std::string path(const std::string& name)
{
    return std::string(ZTREE_CORPUS) + "/" + name;
}

TEST_F(XmlCorpusTest, filesAreRefusedOrReadBack)
{
    int good = 0;
    int bad = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(ZTREE_CORPUS)) {
        const std::string name = entry.path().filename().string();
        SCOPED_TRACE(name);
        ZTree tree;
        ztree::XmlError error;
        const bool taken = ztree::readXmlFile(path(name).c_str(), tree, &error);
        if (name.compare(0, 4, "bad_") == 0) {
            ++bad;
            EXPECT_FALSE(taken);
            EXPECT_TRUE(error && error.line > 0 && error.column > 0 && error.message[0]);
            continue;
        }
        ++good;
        ASSERT_TRUE(taken) << error.line << ":" << error.column << " " << error.message;
        for (const int indent : {2, -1}) {
            ZString written;
            ZTree again;
            ztree::XmlStyle style;
            style.indent = indent;
            ASSERT_TRUE(ztree::writeXml(tree, written, &error, style)) << error.message;
            const std::string_view text = ztree::view(written);
            ASSERT_TRUE(ztree::readXml(text.data(), text.size(), again, &error)) << text;
            EXPECT_EQ(asText(again), asText(tree)) << text;
        }
    }
    EXPECT_GE(good, 10);
    EXPECT_GE(bad, 19);
}

TEST_F(XmlCorpusTest, encodingsGiveTheSameCharacters)
{
    const std::pair<const char*, const char*> roots[] = {
        {"latin1.xml", "<a b=\"\xC3\xBC\">Stra\xC3\x9F"
                       "e</a>"},
        {"cyrillic.xml", "<a>\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82</a>"},
        {"utf16.xml", "<a>\xE2\x82\xAC \xF0\x9F\x98\x80</a>"},
        {"utf16_big.xml", "<a \xC3\xA4=\"\xE2\x82\xAC\">\xF0\x9F\x98\x80</a>"}};
    for (const auto& [name, text] : roots) {
        ZTree tree;
        ASSERT_TRUE(ztree::readXmlFile(path(name).c_str(), tree)) << name;
        EXPECT_EQ(asText(tree), text) << name;
    }
}

} // namespace
