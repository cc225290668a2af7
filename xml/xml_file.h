#pragma once
// The one body behind ZXmlFile and ZXmlFileW.

#include "platform/work_stack.h"
#include "xml/xml_kinds.h"

namespace ztree_impl {

template <class Kind> class XmlFileCore : public platform::HeapObject {
public:
    using Ch = typename Kind::Char;
    using Tree = typename Kind::TreeKind::Tree;
    using Branch = typename Kind::TreeKind::Branch;
    using BranchOf = BranchCore<typename Kind::TreeKind>;

    XmlFileCore();
    ~XmlFileCore();
    XmlFileCore(const XmlFileCore&) = delete;
    XmlFileCore& operator=(const XmlFileCore&) = delete;

    int start(const Ch** result, const Ch* docType, const Ch* systemId);
    int finish();
    int freeBuffer(const Ch** p) noexcept;
    int dataSize() const noexcept { return m_out.length(); }
    void setCodepage(unsigned codepage) noexcept { m_codepage = codepage; }
    unsigned codepage() const noexcept { return m_codepage; }
    int write(const Ch* text, int length, bool escape);
    int lineFeed();
    int startTag(const Ch* name, bool more);
    int quickTag(const Ch* name, bool more);
    int endTag(const Ch* name);
    int attrib(const Ch* name, const Ch* value, bool more);
    int descend(const Ch* name, bool more);
    int ascend();
    int writeStr(const Ch* name, const Ch* value);
    int writeData(const Ch* name, const Ch* data, int length);
    int writePacked(const Ch* name, const unsigned char* digits, int count);
    int writeAmount(const Ch* name, double value, int decimals);
    int writeCommand(const Ch* name, int command, const Ch* query);
    int writeBranch(const Branch* top, const Branch* identity, bool inIdentity);

private:
    struct Name : platform::HeapObject {
        Name* outer;
        int length;
        Ch text[1];
    };
    void put(const Ch* text, int n);
    void put(const char* ascii);
    void indent();
    void escaped(const Ch* text, int n);
    void startOf(const Ch* name, int n);
    void closeStart(bool more);
    int endTag(const Ch* name, int n);
    int descend(const Ch* name, int n, bool more);
    void attribs(const BranchOf& branch);
    void leaf(const BranchOf& branch);
    void link(const BranchOf& leaf, const BranchOf& identity);
    void clear() noexcept;

    const Ch** m_result = nullptr;
    int m_depth = 0;
    Name* m_names = nullptr; // of open elements, newest first
    bool m_pending = false;  // the start tag is still open
    bool m_lineFeed = false; // due when it closes
    bool m_indent = false;   // due before the next output
    bool m_empty = false;    // it closes as "/>"
    unsigned m_codepage = 65001;
    typename Kind::String m_out;
};

template <> int XmlFileCore<NarrowXml>::start(const char** result, const char* docType, const char* systemId);
template <>
int XmlFileCore<WideXml>::start(const zwchar** result, const zwchar* docType, const zwchar* systemId);
extern template class XmlFileCore<NarrowXml>;
extern template class XmlFileCore<WideXml>;

} // namespace ztree_impl

class mZXmlFile final : public ztree_impl::XmlFileCore<ztree_impl::NarrowXml> {};
class mZXmlFileW final : public ztree_impl::XmlFileCore<ztree_impl::WideXml> {};
