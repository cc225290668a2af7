// Every operation that touches files, with each of its file calls failing; streams of the caller's that fail.

#include "faults/process.h"
#include "faults/trees.h"

#include <ztree/ext/csv.h>
#include <ztree/ext/tree.h>
#include <ztree/ext/xml.h>
#include <ztree/helpers.h>
#include <ztree/log.h>
#include <ztree/xml.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <ios>
#include <sstream>

namespace {

using namespace faults;
using FileFaults = Sweep;

const std::string document = "<r a=\"1\">" + std::string(40'000, 'x') + "</r>";

TEST_F(FileFaults, xml)
{
    const Files there = {{"a.xml", document}};
    const std::string path = at("a.xml");
    files("strict reader", there, [&] {
        ZTree tree;
        ztree::XmlError error;
        if (!ztree::readXmlFile(path.c_str(), tree, &error)) {
            EXPECT_EQ(tree.root(), nullptr);
            throw Refused{error.system};
        }
        return tell(tree);
    });
    files("reader", there, [&] {
        ZXmlReader reader;
        done(reader.readFile(path.c_str(), 1252));
        return shown(reader.getBuffer(nullptr));
    });
    files("wide reader", there, [&] {
        ZXmlReaderW reader;
        done(reader.readFile(path.c_str(), 1252));
        return shown(reader.getBuffer(nullptr));
    });
    files("reader of a handle", there, [&] {
        const SystemFile file(path.c_str()); // opened by the test
        ZXmlReader reader;
        ZXmlReaderW wide;
        done(reader.readFile(file.handle, 65001));
        done(wide.readFile(file.handle, 65001));
        return shown(reader.getBuffer(nullptr)) + shown(wide.getBuffer(nullptr));
    });
    ZTree tree;
    tree.set(makeTree<char>(20, 3));
    ZTreeW wide;
    wide.set(makeTree<zwchar>(20, 3));
    // It has no result: a file that is not whole is what tells.
    std::string good;
    const auto saved = [&](auto save) {
        return [&, save] {
            save();
            const Files now = filesNow();
            must(now.count("new.xml") && (good.empty() || now.at("new.xml") == good));
            good = now.at("new.xml");
            return good;
        };
    };
    files("saved tree", {}, saved([&] { SaveZTree(at("new.xml").c_str(), &tree); }));
    good.clear();
    files("saved wide tree", {{"new.xml", "old"}}, saved([&] { SaveZTreeW(at("new.xml").c_str(), &wide); }));
    files("removed", {{"new.xml", "old"}}, [&] {
        SaveZTree(at("new.xml").c_str(), nullptr);
        must(filesNow().empty());
        return "";
    });
}

// The same operations without memory.
TEST_F(FileFaults, withoutMemory)
{
    std::string wide = "\xFF\xFE";
    for (const char c : document)
        wide += {c, '\0'};
    std::filesystem::create_directory(folder);
    for (const auto& [name, content] : Files{{"a.xml", document}, {"w.xml", wide}})
        std::ofstream(at(name.c_str()), std::ios::binary) << content;
    for (const char* name : {"a.xml", "w.xml"}) {
        const std::string path = at(name);
        sweep("strict reader", [&] {
            ZTree tree;
            must(ztree::readXmlFile(path.c_str(), tree));
            return tell(tree);
        });
        sweep("readers", [&] {
            ZXmlReader reader;
            ZXmlReaderW other;
            want(reader.readFile(path.c_str(), 1252));
            want(other.readFile(path.c_str(), 1252));
            unsigned long n = 0;
            const char* const text = reader.getBuffer(&n);
            return shown(text, n) + shown(other.getBuffer(nullptr));
        });
    }
    std::filesystem::remove_all(folder);
}

TEST_F(FileFaults, backups)
{
    // A backup that cannot be opened gives its code also where another one is replaced; 183: it could not be
    // seen that there was one to remove.
    const auto backup = [] {
        const bool there = filesNow().count("app.log") > 0;
        const int result = there ? backupFile(at("app.log").c_str(), 2) : 2;
        Files now = filesNow();
        const bool moved = !now.count("app.log");
        EXPECT_EQ(moved, now["app000.log"] == "new" || now["app001.log"] == "new");
        if (!moved)
            throw Refused{static_cast<unsigned>(result == -1 || result == 183 ? 0 : result)};
        return "moved";
    };
    files("free number", {{"app.log", "new"}, {"app000.log", "old"}}, backup);
    files("no free number", {{"app.log", "new"}, {"app000.log", "a"}, {"app001.log", "b"}}, backup);
}

struct Row {
    char name[40];
    int number;
};
void define(varnik::ztree::csvBuffer& settings)
{
    const unsigned short ids[] = {101, 102};
    settings.setParameter(varnik::ztree::csvParamDialect, 1);
    settings.setFieldOrder(ids, 2);
    settings.addFieldDefinition(ztree::fieldAt<varnik::ztree::csvField>(101, 0, 40, 1));
    settings.addFieldDefinition(ztree::fieldAt<varnik::ztree::csvInt>(102, offsetof(Row, number)));
}

TEST_F(FileFaults, csv)
{
    varnik::ztree::csvBuffer settings;
    define(settings);
    std::string rows;
    for (int i = 0; i < 300; ++i)
        rows += "name of a row;" + std::to_string(i) + "\r\n";
    files("reader", {{"a.csv", rows}}, [&] {
        ztree::CsvReader reader(settings);
        reader.setPiece(2048);
        done(reader.openFile(at("a.csv").c_str()));
        std::string all;
        int result;
        for (Row row; (result = reader.read(&row)) == 1;)
            all += row.name + std::to_string(row.number);
        done(result);
        return all;
    });
    for (const Files& before : {Files{}, Files{{"a.csv", "the good one"}}})
        files(
            "writer", before,
            [&] {
                ztree::CsvWriter writer(settings);
                done(writer.openFile(at("a.csv").c_str()));
                Row row = {"a row that is written over and over", 0};
                for (; row.number < 9000; ++row.number)
                    done(writer.write(&row));
                done(writer.finish());
                return "written";
            },
            Left::whole);
}

TEST_F(FileFaults, logs)
{
    for (const auto policy : {fileLog::flushEach, fileLog::flushBlocks, fileLog::flushDisk})
        for (const bool rotate : {policy != fileLog::flushDisk, false})
            files("log", {{"app.log", "old\r\n"}}, [&] {
                auto* const log = new fileLog;
                log->AddRef();
                struct Gone {
                    fileLog* log;
                    ~Gone() { log->Release(); }
                } const gone{log};
                log->setFlags(1);
                log->setRotateOnOpen(rotate);
                log->setLimit(60, 2);
                done(log->setFlushPolicy(policy));
                done(log->open(at("app.log").c_str()));
                done(log->reset());
                for (int i = 0; i < 3; ++i)
                    done(log->writelnEntry(i % 2 ? logInfo : logError, "an entry of some bytes", -1));
                done(log->flush());
                done(log->isOpen());
                done(log->close());
                return "closed";
            });
}

// --- streams of the caller's ---

/// Takes or gives so many bytes, then fails, by its result or by an exception.
class ShortBuffer : public std::streambuf {
public:
    ShortBuffer(std::string text, std::size_t limit, bool throws)
        : m_text(std::move(text)), m_limit(limit), m_throws(throws)
    {
    }

protected:
    int_type overflow(int_type c) override { return room() ? (++m_at, c) : eof(); }
    int_type underflow() override
    {
        if (m_at >= m_text.size() || !room())
            return eof();
        char* const p = &m_text[m_at++];
        setg(p, p, p + 1);
        return traits_type::to_int_type(*p);
    }

private:
    bool room() const { return m_at < m_limit; }
    int_type eof() const
    {
        if (m_throws)
            throw std::ios::failure("device");
        return traits_type::eof();
    }
    std::string m_text;
    std::size_t m_at = 0;
    std::size_t m_limit;
    bool m_throws;
};

TEST_F(FileFaults, streams)
{
    ZTree source;
    source.set(makeTree<char>(20, 70));
    ZTreeW wide;
    wide.set(makeTree<zwchar>(20, 70));
    const ZAttrib attrib("name", "value");
    using Save = std::function<bool(std::ostream&)>;
    using Load = std::function<bool(std::istream&)>;
    ZTree target;
    ZTreeW wideTarget;
    ZAttrib read;
    const struct {
        Save save;
        Load load;
        std::size_t step;
    } pairs[] = {
        {[&](std::ostream& out) { return ztree::saveTree(source, out); },
         [&](std::istream& in) { return ztree::loadTree(in, target); }, 37},
        {[&](std::ostream& out) { return source.save(out) == 0; },
         [&](std::istream& in) { return target.load(in) == 0; }, 37},
        {[&](std::ostream& out) { return wide.save(out) == 0; },
         [&](std::istream& in) { return wideTarget.load(in) == 0; }, 67},
        {[&](std::ostream& out) { return attrib.save(out) == 0; },
         [&](std::istream& in) { return read.load(in) == 0; }, 1},
    };
    for (const auto& pair : pairs) {
        std::ostringstream whole;
        ASSERT_TRUE(pair.save(whole));
        const std::string bytes = whole.str();
        const bool isChecked = &pair == pairs;
        for (std::size_t limit = 0; limit < bytes.size(); limit += pair.step)
            for (const bool throws : {false, true})
                for (const std::ios::iostate mask :
                     {std::ios::goodbit, std::ios::badbit | std::ios::failbit}) {
                    const long before = platform::Hooks::liveBlocks();
                    ShortBuffer to("", limit, throws);
                    std::ostream out(&to);
                    out.exceptions(mask);
                    try {
                        EXPECT_FALSE(pair.save(out) && isChecked);
                    } catch (const std::ios::failure&) {
                        EXPECT_NE(mask, std::ios::goodbit);
                    }
                    EXPECT_FALSE(out);
                    EXPECT_EQ(platform::Hooks::liveBlocks(), before);
                    target.clear();
                    target.add(ZTBranch("kept"));
                    wideTarget.clear();
                    read = ZAttrib();
                    ShortBuffer from(bytes, limit, throws);
                    std::istream in(&from);
                    in.exceptions(mask);
                    try {
                        EXPECT_FALSE(pair.load(in) && isChecked);
                    } catch (const std::ios::failure&) {
                        EXPECT_NE(mask, std::ios::goodbit);
                    }
                    if (isChecked) {
                        EXPECT_STREQ(target.root()->getName(), "kept");
                    }
                }
        std::istringstream in(bytes);
        EXPECT_TRUE(pair.load(in));
    }
    target.clear();
    wideTarget.clear();
    read = ZAttrib();
}

} // namespace
