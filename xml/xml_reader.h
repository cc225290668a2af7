#pragma once
// The one body behind ZXmlReader and ZXmlReaderW.

#include "tree/attrib_batch.h"
#include "xml/xml_tag.h"

namespace ztree_impl {

template <class Kind> class XmlReaderCore : public platform::HeapObject {
public:
    using Ch = typename Kind::Char;
    using Tag = typename Kind::Tag;
    using Core = XmlTagCore<Kind>;
    using Tree = typename Kind::TreeKind::Tree;
    using Branch = typename Kind::TreeKind::Branch;

    XmlReaderCore() noexcept = default;
    ~XmlReaderCore();
    XmlReaderCore(const XmlReaderCore&) = delete;
    XmlReaderCore& operator=(const XmlReaderCore&) = delete;

    void copyText(const XmlReaderCore& other);
    int setData(const Ch* text, unsigned codepage);
    /// 0 or a system code; path null: the open handle.
    int readFile(const char* path, void* handle, unsigned codepage);
    bool load(bool sort, bool restart);
    void unload() noexcept;
    Tag* root() const noexcept { return m_root; }
    const Ch* text(unsigned long* length) const noexcept;
    const Ch* position(unsigned long* offset) const noexcept;
    Tag* findChild(const Tag* tag, const Ch* path) const;
    Tag* findNextChild(const Tag* parent, const Tag* after, const Ch* name, bool skip) const;
    Tree* createTree(bool skipProlog) const;

private:
    struct Open;
    void take(Ch* block, int length) noexcept;
    int setBytes(const char* bytes, std::size_t n, unsigned codepage);
    Tag* parseElement(const Ch*& at, const Ch* end);
    void finishElement(const Open& open);
    static void setContent(Core& element, const Ch* text, int n);
    Branch* convert(const Tag& root) const;
    using Batch = AttribBatch<typename Kind::TreeKind>;
    static Branch* makeBranch(const Core& element, Batch& batch);

    Ch* m_data = nullptr;
    int m_length = 0;
    int m_position = -1; // offset; below 0 before the first load()
    Tag* m_root = nullptr;
    mutable int m_hint = 0; // where the child found last stood
};

template <> int XmlReaderCore<NarrowXml>::setData(const char* text, unsigned codepage);
template <> int XmlReaderCore<WideXml>::setData(const zwchar* text, unsigned codepage);
template <> int XmlReaderCore<NarrowXml>::setBytes(const char* bytes, std::size_t n, unsigned codepage);
template <> int XmlReaderCore<WideXml>::setBytes(const char* bytes, std::size_t n, unsigned codepage);
extern template class XmlReaderCore<NarrowXml>;
extern template class XmlReaderCore<WideXml>;

} // namespace ztree_impl

class mZXmlReader final : public ztree_impl::XmlReaderCore<ztree_impl::NarrowXml> {};
class mZXmlReaderW final : public ztree_impl::XmlReaderCore<ztree_impl::WideXml> {};
