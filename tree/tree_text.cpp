// Trees as text for people, and the global configuration.

#include "platform/work_stack.h"
#include "tree/tree_core.h"

#include <ztree/containers.h>
#include <ztree/runtime.h>

#include <cstring>

namespace {

using ztree_impl::NarrowTree;
using Core = ztree_impl::BranchCore<NarrowTree>;

struct Open {
    const ZTBranch* branch;
    int next;   // child to write
    int prefix; // of the line that closes the element
};
using Way = platform::WorkStack<Open>;

void enter(Way& way, const Open& open)
{
    if (!way.push(open))
        throw structExcept(ztree::errMemory);
}

void append(ZString& out, const char* text)
{
    if (text)
        out.append(text, static_cast<int>(std::strlen(text)));
}

void startOfTag(ZString& out, const Core& branch)
{
    out.append('<');
    out.append(branch.name(), branch.nameLength());
    for (int i = 0; i < branch.attribCount(); ++i) {
        const ZAttrib& attrib = *branch.attrib(i);
        out.append(' ');
        append(out, attrib.getName());
        out.append("=\"", 2);
        append(out, attrib.getValue());
        out.append('"');
    }
}

void endTag(ZString& out, const Core& branch)
{
    out.append("</", 2);
    out.append(branch.name(), branch.nameLength());
    out.append('>');
}

bool isOpenAlready(Way& way, const ZTBranch* child)
{
    if (Core::of(child)->wasLinked())
        for (std::size_t i = 0; i < way.size(); ++i)
            if (way[i].branch == child)
                return true; // a link back to a branch around it: the text would have no end
    return false;
}

bool isControl(char c)
{
    const unsigned char u = static_cast<unsigned char>(c);
    return u < 32 || u == 127;
}

// The value of a branch as text, printed into `digits` for numbers.
const char* valueText(const Core& branch, char* digits, int& length)
{
    length = 0;
    if (branch.type() == 0)
        return nullptr;
    if (branch.type() == 7) {
        length = static_cast<int>(branch.binaryLength());
        return branch.binary() ? branch.binary() : "";
    }
    length = branch.printNumber(digits);
    return digits;
}

void dump(ZString& out, const char* data, int length)
{
    out.setGrowth(dumpSize(static_cast<unsigned long>(length)));
    append(out, "\r\n[CDATA]\r\n");
    while (length > 0) {
        unsigned char line[70];
        const int done = formatDump(0, reinterpret_cast<const unsigned char*>(data),
                                    static_cast<unsigned int>(length), line, sizeof line);
        if (done < 1)
            break;
        append(out, reinterpret_cast<const char*>(line));
        data += done;
        length -= done;
    }
}

} // namespace

int treeString(ZTree* tree, ZString& out)
{
    if (!tree)
        return static_cast<int>(ztree::errInvalidArg);
    out.setCodepage(65001);
    out.setGrowth(256);
    Way way;
    const ZTBranch* next = tree->root();
    while (next) {
        const Core& branch = *Core::of(next);
        startOfTag(out, branch);
        const void* value = nullptr;
        int size = 0;
        branch.valuePtr(&value, &size);
        if (branch.childCount() || size >= 1) {
            out.append('>');
            enter(way, {next, 0, 0});
        } else {
            out.append("/>", 2);
        }
        next = nullptr;
        while (!way.empty() && !next) {
            const Core& open = *Core::of(way.top().branch);
            if (way.top().next < open.childCount()) {
                next = open.child(way.top().next++);
                if (next && isOpenAlready(way, next))
                    next = nullptr;
                continue;
            }
            open.valuePtr(&value, &size);
            if (size > 0)
                out.append(static_cast<const char*>(value), size);
            endTag(out, open);
            way.pop();
        }
    }
    return 0;
}

int treeText(ZTree* tree, const ZString& indent, ZString& out)
{
    if (!tree)
        return static_cast<int>(ztree::errInvalidArg);
    // out may be the indent itself.
    const ZString step(indent);
    out.clear();
    out.setCodepage(65001);
    out.setGrowth(256);
    ZString prefix;
    prefix.setGrowth(256);
    int prefixLength = 0;
    auto appendPrefix = [&](int length) {
        while (prefix.length() < length)
            prefix += step;
        out.append(prefix.getBuffer(), length);
    };
    char digits[NarrowTree::numberRoom];
    Way way;
    const ZTBranch* next = tree->root();
    while (next) {
        const Core& branch = *Core::of(next);
        if (prefixLength)
            appendPrefix(prefixLength);
        startOfTag(out, branch);
        int length = 0;
        valueText(branch, digits, length);
        if (branch.childCount() || length > 0) {
            out.append('>');
            enter(way, {next, 0, prefixLength});
            if (branch.childCount()) {
                out.append("\r\n", 2);
                prefixLength += step.length();
            }
        } else {
            out.append("/>\r\n", 4);
        }
        next = nullptr;
        while (!way.empty() && !next) {
            const Open& top = way.top();
            const Core& open = *Core::of(top.branch);
            if (top.next < open.childCount()) {
                next = open.child(way.top().next++);
                if (next && isOpenAlready(way, next))
                    next = nullptr;
                continue;
            }
            const char* text = valueText(open, digits, length);
            bool ownLine = open.childCount() != 0;
            if (length > 0) {
                int plain = 0;
                while (plain < length && !isControl(text[plain]))
                    ++plain;
                if (plain == length) {
                    out.append(text, length);
                } else {
                    dump(out, text, length);
                    ownLine = true;
                }
            }
            prefixLength = top.prefix;
            if (ownLine && prefixLength)
                appendPrefix(prefixLength);
            endTag(out, open);
            out.append("\r\n", 2);
            way.pop();
        }
    }
    return 0;
}

int setGlobalConfig(const tagZTreeConfig* config)
{
    if (!config)
        return static_cast<int>(ztree::errInvalidArg);
    if (config->version != 0)
        ZArray::s_ulDefaultSpinCount = config->spinCount;
    return 0;
}
