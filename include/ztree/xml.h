#pragma once
/// @file xml.h
/// XML: elements in memory, a small reader, a writer.

#include <ztree/attrib.h>
#include <ztree/tree.h>
#include <ztree/types.h>
#include <ztree/version.h>

class mZXmlTag;
class mZXmlTagW;
class mZXmlReader;
class mZXmlReaderW;
class mZXmlFile;
class mZXmlFileW;
namespace ztree_impl {
template <class Kind> class XmlTagCore;
}

/// One element of an XML document in memory: name, text, attributes, children,
/// and a link to its parent.
///
/// Ownership: owns its texts, its attributes and its children, and deletes the
/// latter with itself; a child
///     that stands in the list twice is deleted once. Kept: a copy shares the
///     children with its source, and each of the two deletes those it still
///     holds; callers take the children out of one of them first. Deleting an
///     element does not take it out of its parent's list.
/// Threads: no lock; one document belongs to one thread at a time.
/// Failure: structExcept 0x84201001 when memory is short; lookups give null or
/// -1.
class ZTREE_API ZXmlTag : public ZSortObject {
public:
    /// With a parent the element is appended to its children.
    explicit ZXmlTag(ZXmlTag* parent = nullptr, const char* name = nullptr, const char* text = nullptr);
    ZXmlTag(const ZXmlTag& other);
    ZXmlTag& operator=(const ZXmlTag& other);
    ~ZXmlTag() override;
    /// By name, byte for byte; 0 for the element itself.
    int compare(const ZSortObject* other) const override;
    virtual unsigned int getLibVersion() const;

    /// Leaves the list of the parent before and is appended to the new one's.
    void setParent(ZXmlTag* parent);
    /// Null for a top element.
    ZXmlTag* getParent() const;
    /// A null text clears it.
    void setName(const char* name);
    /// Null when empty.
    const char* getName() const;
    /// A null text clears it.
    void setText(const char* text);
    /// Null when empty.
    const char* getText() const;
    /// 0 start tag, 1 end tag, 2 empty element, 3 declaration or processing
    /// instruction; -1 before setData().
    int getKind() const;

    /// Appends, also when the name is there already.
    void addAttrib(const char* name, const char* value);
    /// Replaces the value of the first attribute with that name, else appends.
    void setAttrib(const char* name, const char* value);
    /// Its value, or null.
    const char* getAttrib(const char* name) const;
    /// The element's own list.
    ZAttribList* getAttribList();

    /// Appends child unless it is null; its parent is not changed.
    void addChild(ZXmlTag* child);
    /// Kept: the new element stands in the list twice, since its constructor
    /// appends it already.
    void addChild(const char* name, const char* text);
    /// Takes the first place of child out of the list; it is not deleted.
    void removeChild(ZXmlTag* child);
    /// Its first place in the list, or -1.
    int getChildIndex(const ZXmlTag* child) const;
    ZXmlTag* getChild(int index) const;
    /// Places in the list.
    int getChildCount() const;
    /// First child with that name, byte for byte; "item(main)" asks for one whose
    /// attribute "Rel" is main too.
    ZXmlTag* getChild(const char* path) const;
    /// Sorts the children by name, and theirs in turn. Returns 0.
    int sortChildren();
    /// Takes over what stands between "<" and ">": name, attributes (sorted) and
    /// kind.
    int setData(const char* tag);

    static void* operator new(std::size_t bytes) noexcept { return platform::heapAlloc(bytes); }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void* operator new[](std::size_t bytes) noexcept { return platform::heapAlloc(bytes); }
    static void operator delete(void* block) noexcept { platform::heapFree(block); }
    static void operator delete(void*, void*) noexcept {}
    static void operator delete[](void* block) noexcept { platform::heapFree(block); }

private:
    template <class> friend class ztree_impl::XmlTagCore;
    explicit ZXmlTag(mZXmlTag& impl) noexcept : m_pImpl(&impl) {}
    mZXmlTag* m_pImpl;
};

/// ZXmlTag with UTF-16 texts.
class ZTREE_API ZXmlTagW : public ZSortObject {
public:
    /// With a parent the element is appended to its children.
    explicit ZXmlTagW(ZXmlTagW* parent = nullptr, const zwchar* name = nullptr, const zwchar* text = nullptr);
    ZXmlTagW(ZXmlTagW* parent, const unsigned short* name, const unsigned short* text = nullptr);
    ZXmlTagW(const ZXmlTagW& other);
    ZXmlTagW& operator=(const ZXmlTagW& other);
    ~ZXmlTagW() override;
    /// By name, byte for byte; 0 for the element itself.
    int compare(const ZSortObject* other) const override;
    virtual unsigned int getLibVersion() const;

    /// Leaves the list of the parent before and is appended to the new one's.
    void setParent(ZXmlTagW* parent);
    ZXmlTagW* getParent() const;
    void setName(const zwchar* name);
    void setName(const unsigned short* name);
    /// Null when empty.
    const zwchar* getName() const;
    void setText(const zwchar* text);
    void setText(const unsigned short* text);
    const zwchar* getText() const;
    /// 0 start tag, 1 end tag, 2 empty element, 3 declaration or processing
    /// instruction; -1 before setData().
    int getKind() const;

    void addAttrib(const zwchar* name, const zwchar* value);
    void addAttrib(const unsigned short* name, const unsigned short* value);
    void setAttrib(const zwchar* name, const zwchar* value);
    void setAttrib(const unsigned short* name, const unsigned short* value);
    const zwchar* getAttrib(const zwchar* name) const;
    const zwchar* getAttrib(const unsigned short* name) const;
    /// The element's own list.
    ZAttribWList* getAttribList();

    /// Appends child unless it is null; its parent is not changed.
    void addChild(ZXmlTagW* child);
    /// Kept: the new element stands in the list twice, since its constructor
    /// appends it already.
    void addChild(const zwchar* name, const zwchar* text);
    void addChild(const unsigned short* name, const unsigned short* text);
    /// Takes the first place of child out of the list; it is not deleted.
    void removeChild(ZXmlTagW* child);
    int getChildIndex(const ZXmlTagW* child) const;
    ZXmlTagW* getChild(int index) const;
    int getChildCount() const;
    /// First child with that name, byte for byte; "item(main)" asks for one whose
    /// attribute "Rel" is main too.
    ZXmlTagW* getChild(const zwchar* path) const;
    ZXmlTagW* getChild(const unsigned short* path) const;
    /// Sorts the children by name, and theirs in turn. Returns 0.
    int sortChildren();
    /// Takes over what stands between "<" and ">": name, attributes (sorted) and
    /// kind.
    int setData(const zwchar* tag);
    int setData(const unsigned short* tag);

    static void* operator new(std::size_t bytes) noexcept { return platform::heapAlloc(bytes); }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void* operator new[](std::size_t bytes) noexcept { return platform::heapAlloc(bytes); }
    static void operator delete(void* block) noexcept { platform::heapFree(block); }
    static void operator delete(void*, void*) noexcept {}
    static void operator delete[](void* block) noexcept { platform::heapFree(block); }

private:
    template <class> friend class ztree_impl::XmlTagCore;
    explicit ZXmlTagW(mZXmlTagW& impl) noexcept : m_pImpl(&impl) {}
    mZXmlTagW* m_pImpl;
};

/// A small reader that validates nothing: elements, end tags, empty elements,
/// declarations by their first character, the text in front of an element's
/// first child, and the entities amp, lt, gt and quot.
///
/// A document with an XML declaration and a DOCTYPE has the declaration "?xml"
/// as root, "!DOCTYPE" as its child and the document element below that;
/// createTree(true) steps over both. Documents that use more of XML (comments,
/// CDATA, character references) are for ztree::readXml. Ownership: owns the
/// text and the tree of elements. Threads: no lock; one reader belongs to one
/// thread at a time. Failure: file operations return system codes, 14 for
/// memory; 0 is success. load() and createTree() throw
///     structExcept 0x84201001 when memory is short.
class ZTREE_API ZXmlReader : public ZVersion {
public:
    /// With a text as setData() takes it.
    explicit ZXmlReader(const char* text = nullptr);
    ZXmlReader(const char* text, unsigned int codepage);
    /// Copies the text; the copy has no elements and stands at the start.
    ZXmlReader(const ZXmlReader& other);
    ZXmlReader& operator=(const ZXmlReader& other);
    ~ZXmlReader() override;
    unsigned int getLibVersion() const override;

    /// Copies the text, converted from codepage to UTF-8. Kept: elements parsed
    /// before are let go, not deleted (whoever took getRoot() owns them), and the
    /// position stays.
    int setData(const char* text, unsigned int codepage);
    /// Reads a whole file. A UTF-8 byte-order mark overrides the code page.
    int readFile(const char* path, unsigned int codepage);
    /// The same from an open system handle (Linux: a file descriptor), from its
    /// start.
    int readFile(void* handle, unsigned int codepage);
    /// Parses one top-level element, from the start of the text with restart,
    /// else behind the last one; sort: sortChildren() on it. Kept: returns true
    /// when there is no element.
    bool load(bool sort, bool restart);
    /// Deletes the elements; the text stays.
    void unload();
    /// True without an element.
    bool isEmpty() const;
    /// The element last parsed, or null; it stays the reader's.
    ZXmlTag* getRoot() const;
    /// The text; *length in bytes.
    const char* getBuffer(unsigned long* length) const;
    /// Where parsing goes on, and its offset from the start.
    const char* getPosition(unsigned long* offset) const;
    /// Child of tag (of the root for null) by path, or the first one for a null
    /// path.
    ZXmlTag* findChild(const ZXmlTag* tag, const char* path) const;
    /// The sibling behind `after` with that name (null: any); without skip only
    /// the very next one is looked at. Without `after` as findChild(parent,
    /// name).
    ZXmlTag* findNextChild(const ZXmlTag* parent, const ZXmlTag* after, const char* name, bool skip) const;
    /// The elements as a tree that the caller deletes; null without an element.
    /// skipProlog starts below
    /// "?xml" and "!DOCTYPE". Elements without children get their text as value.
    ZTree* createTree(bool skipProlog) const;

private:
    mZXmlReader* m_pImpl;
};

/// ZXmlReader for UTF-16 text; narrow input is converted from its code page.
class ZTREE_API ZXmlReaderW : public ZVersion {
public:
    /// With a text as setData() takes it.
    explicit ZXmlReaderW(const zwchar* text = nullptr);
    ZXmlReaderW(const zwchar* text, unsigned int codepage);
    explicit ZXmlReaderW(const unsigned short* text);
    ZXmlReaderW(const unsigned short* text, unsigned int codepage);
    /// Copies the text; the copy has no elements and stands at the start.
    ZXmlReaderW(const ZXmlReaderW& other);
    ZXmlReaderW& operator=(const ZXmlReaderW& other);
    ~ZXmlReaderW() override;
    unsigned int getLibVersion() const override;

    /// Copies the text; the code page is not used for UTF-16.
    int setData(const zwchar* text, unsigned int codepage);
    int setData(const unsigned short* text, unsigned int codepage);
    /// Reads a whole file. A UTF-8 byte-order mark overrides the code page; a
    /// UTF-16 one too.
    int readFile(const char* path, unsigned int codepage);
    /// The same from an open system handle (Linux: a file descriptor), from its
    /// start.
    int readFile(void* handle, unsigned int codepage);
    /// Parses one top-level element, from the start of the text with restart,
    /// else behind the last one; sort: sortChildren() on it. Kept: returns true
    /// when there is no element.
    bool load(bool sort, bool restart);
    void unload();
    bool isEmpty() const;
    ZXmlTagW* getRoot() const;
    /// The text; *length in units.
    const zwchar* getBuffer(unsigned long* length) const;
    /// Where parsing goes on, and its offset from the start.
    const zwchar* getPosition(unsigned long* offset) const;
    /// Child of tag (of the root for null) by path, or the first one for a null
    /// path.
    ZXmlTagW* findChild(const ZXmlTagW* tag, const zwchar* path) const;
    ZXmlTagW* findChild(const ZXmlTagW* tag, const unsigned short* path) const;
    /// The sibling behind `after` with that name (null: any); without skip only
    /// the very next one is looked at. Without `after` as findChild(parent,
    /// name).
    ZXmlTagW* findNextChild(const ZXmlTagW* parent, const ZXmlTagW* after, const zwchar* name,
                            bool skip) const;
    ZXmlTagW* findNextChild(const ZXmlTagW* parent, const ZXmlTagW* after, const unsigned short* name,
                            bool skip) const;
    /// The elements as a tree that the caller deletes; null without an element.
    /// skipProlog starts below
    /// "?xml" and "!DOCTYPE". Elements without children get their text as value.
    ZTreeW* createTree(bool skipProlog) const;

private:
    mZXmlReaderW* m_pImpl;
};

/// Writes an XML document into memory, UTF-8, three blanks a level. Operations
/// return 1 unless they say otherwise.
///
/// Ownership: owns the document; the address that finish() hands out is valid
/// until the next start() or the
///     destructor.
/// Threads: no lock; one writer belongs to one thread at a time.
/// Failure: structExcept 0x84201001 when memory is short.
/// Names are written as they are; escaped text has <, >, " and & replaced, an &
/// only where it does not begin one of &amp; &lt; &gt; &quot; already.
class ZTREE_API ZXmlFile : public ZVersion {
public:
    ZXmlFile();
    ZXmlFile(const ZXmlFile&) = delete;
    ZXmlFile& operator=(const ZXmlFile&) = delete;
    ~ZXmlFile() override;
    unsigned int getLibVersion() const override;

    /// Begins anew. With both texts: byte-order mark, XML declaration, DOCTYPE.
    /// *result is set to null now and to the document at finish(). Returns 0.
    int start(const char** result, const char* docType, const char* systemId);
    /// Closes what descend() opened and hands the document out. 0 for an empty
    /// one.
    int finish();
    /// Sets *p and the result slot to null; the document stays.
    int freeBuffer(const char** p);
    /// Length of the document in bytes.
    int getDataSize() const;
    /// Code page of escaped text, 65001 at first.
    int setCodepage(unsigned int codepage);
    /// The code page of escaped text.
    unsigned int getCodepage() const;

    /// Length below 1: up to the terminator. Kept: 0 after unescaped text, 1
    /// after escaped or empty text.
    int write(const char* text, int length, int escape);
    /// Ends the line and indents the next one.
    int lineFeed();
    /// `more`: attributes follow.
    int startTag(const char* name, int more);
    /// startTag() of an element that closes as "/>".
    int quickTag(const char* name, int more);
    /// Writes "</name>".
    int endTag(const char* name);
    /// Writes an attribute, escaped; `more`: further ones follow.
    int attrib(const char* name, const char* value, int more);
    /// Opens an element and goes one level down; "_unnamed" for null.
    int descend(const char* name, int more);
    /// Closes the element last opened by descend(). 0 when there is none.
    int ascend();
    /// An element with text: on one line up to 79 bytes, else with its tags on
    /// lines of their own.
    int writeStr(const char* name, const char* value);
    /// writeStr() without blanks and control characters at the end.
    int writeData(const char* name, const char* data, int length);
    /// At most 42 decimal digits, two a byte, high half first.
    int writePacked(const char* name, const unsigned char* digits, int count);
    /// An element with a number, "." before the decimals.
    int writeAmount(const char* name, double value, int decimals);
    /// An empty element with the attributes Command and, unless query is null,
    /// Query.
    int writeCommand(const char* name, int command, const char* query);
    /// Writes the cursor's current branch with all below it.
    int writeBranch(ZTree* tree);
    /// The same; leaves named "VELIdentity" below a branch of the identity's name
    /// (or anywhere, with inIdentity set) become a "Link" element made of the
    /// identity's attributes Module, Name, Command and Query.
    int writeBranch(ZTree* tree, ZTBranch* identity, int inIdentity);

private:
    mZXmlFile* m_pImpl;
};

/// ZXmlFile in UTF-16: the document begins with U+FEFF, lines behind its header
/// end with LF.
class ZTREE_API ZXmlFileW : public ZVersion {
public:
    ZXmlFileW();
    ZXmlFileW(const ZXmlFileW&) = delete;
    ZXmlFileW& operator=(const ZXmlFileW&) = delete;
    ~ZXmlFileW() override;
    unsigned int getLibVersion() const override;

    /// Begins anew. With both texts: byte-order mark, XML declaration, DOCTYPE.
    /// *result is set to null now and to the document at finish(). Returns 0.
    int start(const zwchar** result, const zwchar* docType, const zwchar* systemId);
    int start(const zwchar** result, const unsigned short* docType, const unsigned short* systemId);
    /// Closes what descend() opened and hands the document out. 0 for an empty
    /// one.
    int finish();
    /// Sets *p and the result slot to null; the document stays.
    int freeBuffer(const zwchar** p);
    /// Length of the document in units.
    int getDataSize() const;
    /// Code page of escaped text, 65001 at first; kept, but not used for UTF-16.
    int setCodepage(unsigned int codepage);
    unsigned int getCodepage() const;

    /// Length below 1: up to the terminator. Kept: 0 after unescaped text, 1
    /// after escaped or empty text.
    int write(const zwchar* text, int length, int escape);
    int write(const unsigned short* text, int length, int escape);
    int lineFeed();
    /// `more`: attributes follow.
    int startTag(const zwchar* name, int more);
    int startTag(const unsigned short* name, int more);
    /// startTag() of an element that closes as "/>".
    int quickTag(const zwchar* name, int more);
    int quickTag(const unsigned short* name, int more);
    int endTag(const zwchar* name);
    int endTag(const unsigned short* name);
    int attrib(const zwchar* name, const zwchar* value, int more);
    int attrib(const unsigned short* name, const unsigned short* value, int more);
    /// Opens an element and goes one level down; "_unnamed" for null.
    int descend(const zwchar* name, int more);
    int descend(const unsigned short* name, int more);
    /// Closes the element last opened by descend(). 0 when there is none.
    int ascend();
    /// An element with text: on one line up to 79 units, else with its tags on
    /// lines of their own.
    int writeStr(const zwchar* name, const zwchar* value);
    int writeStr(const unsigned short* name, const unsigned short* value);
    /// writeStr() without blanks and control characters at the end.
    int writeData(const zwchar* name, const zwchar* data, int length);
    int writeData(const unsigned short* name, const unsigned short* data, int length);
    /// At most 42 decimal digits, two a byte, high half first.
    int writePacked(const zwchar* name, const unsigned char* digits, int count);
    int writePacked(const unsigned short* name, const unsigned char* digits, int count);
    int writeAmount(const zwchar* name, double value, int decimals);
    int writeAmount(const unsigned short* name, double value, int decimals);
    /// An empty element with the attributes Command and, unless query is null,
    /// Query.
    int writeCommand(const zwchar* name, int command, const zwchar* query);
    int writeCommand(const unsigned short* name, int command, const unsigned short* query);
    /// Writes the cursor's current branch with all below it.
    int writeBranch(ZTreeW* tree);
    /// The same; leaves named "VELIdentity" below a branch of the identity's name
    /// (or anywhere, with inIdentity set) become a "Link" element made of the
    /// identity's attributes Module, Name, Command and Query.
    int writeBranch(ZTreeW* tree, ZTBranchW* identity, int inIdentity);

private:
    mZXmlFileW* m_pImpl;
};
