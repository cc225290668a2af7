#pragma once
/// @file tree.h
/// The typed tree: branches, the cursor, text forms, and the library's global configuration.

#include <ztree/attrib.h>
#include <ztree/text.h>
#include <ztree/types.h>
#include <ztree/version.h>

#include <iosfwd>

class mZTBranch;
class mZTBranchW;
class mZTree;
class mZTreeW;
namespace ztree_impl {
template <class Kind> class BranchCore;
template <class Kind> class TreeCore;
} // namespace ztree_impl

/// A named node of the tree: at most one typed value, an ordered list of attributes and an ordered list
/// of child branches.
///
/// A name may carry a suffix in brackets that ends it, as in "Item(3)": the base name is then "Item" and
/// the suffix the value of the attribute "Rel". Lookups by name compare the base name ignoring case and
/// the suffix against that attribute; "Item(0)" also finds an "Item" without the attribute, and "Item"
/// finds any.
///
/// Ownership: owns its attributes, its value, and every child that was not linked with linkChild().
///     Linked children are owned elsewhere and must be removed here before they are deleted there.
///     The parent pointer never owns and is never followed on destruction: take a branch out of its
///     parent (removeChild) rather than deleting it yourself.
/// Texts handed out stay valid until the branch next changes; toString()'s until the next toString(),
///     freeString() or the destructor.
/// Threads: no lock. Any number of threads may read one tree while none changes it; remember(),
///     toString() and freeString() count as changes of their branch.
/// Failure: operations that store throw structExcept 0x84201001 when memory is short and leave the
///     branch usable; lookups report absence by -1 or null.
class ZTREE_API ZTBranch : public ZVersion {
public:
    ZTBranch();
    /// Copies name, value and attributes as operator= does; the copy has no children and no parent.
    ZTBranch(const ZTBranch& other);
    explicit ZTBranch(const char* name, ZTBranch* parent = nullptr);
    ZTBranch(const char* name, char value, ZTBranch* parent = nullptr);
    ZTBranch(const char* name, unsigned char value, ZTBranch* parent = nullptr);
    ZTBranch(const char* name, short value, ZTBranch* parent = nullptr);
    ZTBranch(const char* name, int value, ZTBranch* parent = nullptr);
    ZTBranch(const char* name, long value, ZTBranch* parent = nullptr);
    ZTBranch(const char* name, double value, unsigned char precision, ZTBranch* parent = nullptr);
    ZTBranch(const char* name, const void* data, int length, ZTBranch* parent = nullptr);
    /// Takes over value, flags and name of `other` and adds its attributes, replacing those of the same
    /// name. Kept: they are added from the last to the first, so a copy made into an empty branch holds
    /// them in reverse order. Children, parent and memo of neither change.
    ZTBranch& operator=(const ZTBranch& other);
    ~ZTBranch() override;
    unsigned int getLibVersion() const override;

    // --- name and identity ---
    /// Sets base name and "Rel" attribute. 0, or -1 for a null or empty name (the old one is gone then).
    /// A suffix is what stands between the first "(" and the next ")", at most 255 units; it is taken to
    /// end the name. A name without one drops the "Rel" attribute.
    int setName(const char* name);
    /// The base name, null when there is none.
    const char* getName() const;
    /// Base name and "Rel" value in brackets; the base name when there is no such attribute.
    const char* getFullName() const;
    /// 1 the text names this branch, 0 it does not, -1 only the suffix differs.
    int equals(const char* text) const;
    /// Sets the pointer alone: the parent does not list the branch for it.
    void setParent(ZTBranch* parent);
    /// Null when none was set.
    ZTBranch* getParent() const;
    /// 0 none, 1 char, 2 unsigned char, 3 short, 4 int, 5 long, 6 double, 7 bytes or text.
    unsigned char getType() const;
    /// Bit 0x01: another branch links this one.
    unsigned char getFlags() const;

    // --- value ---
    void setValue(char value);
    void setValue(unsigned char value);
    void setValue(short value);
    void setValue(int value);
    void setValue(long value);
    /// Kept: the precision becomes 255 whatever is passed; only the constructor keeps the given one.
    void setValue(double value, unsigned char precision);
    /// Copies `length` bytes; -1 means strlen(data). A zero byte follows the stored ones.
    void setValue(const void* data, int length);
    /// 0 and the value when the stored type is exactly the asked one; otherwise the stored type's code
    /// and nothing written. Values are never converted.
    int getValue(char* value) const;
    int getValue(unsigned char* value) const;
    int getValue(short* value) const;
    int getValue(int* value) const;
    int getValue(long* value) const;
    int getValue(double* value) const;
    /// For type 7: copies at most `size` bytes, fills the rest of the buffer with zeros, returns 0.
    int getValue(void* buffer, int size) const;
    /// Address and byte size of the stored value (4 for a long). 0, 1 for an empty type 7, -1 for none.
    int getValuePtr(const void** value, int* size) const;
    /// The value as text: decimal numbers, doubles with the stored precision and a decimal comma, bytes
    /// as they are. Null for no value. *length: characters, unchanged when null is returned.
    const char* toString(int* length) const;
    /// Gives the memory of the last toString() back.
    void freeString();

    // --- children ---
    /// Places in the child list, empty ones included.
    int getChildCount() const;
    /// Null when there is none.
    ZTBranch* getChild(int index) const;
    ZTBranch* getChild(const char* name) const;
    /// Steps through the children: *pos is the next index. Null behind the last.
    ZTBranch* getFirstChild(int* pos) const;
    /// The same from *pos on, which is raised.
    ZTBranch* getNextChild(int* pos) const;
    /// Index of the first child that the text names, or -1. Constant time among many children.
    int findChild(const char* name) const;
    /// Adds a copy of src (node only). With replace, a child of src's full name is assigned to instead.
    /// 0, or -1 when src has no name; *added (may be null) is the child written to.
    int addChild(const ZTBranch& src, ZTBranch** added, bool replace);
    /// Lists `child` here without owning it. -1 when it has no name.
    int linkChild(const ZTBranch* child, bool replace);
    /// Takes ownership of child and puts it at index; a negative index appends. What stood at the index
    /// is not deleted: it becomes the caller's again.
    int setChild(ZTBranch* child, int index);
    /// Takes the child out and deletes it, unless it is linked.
    void removeChild(int index);
    void removeChild(const char* name);
    /// Bytes of a type 7 child, else the child's toString(). 0, 1 when there is no text, -1 no such child.
    int getChildValue(int index, const char** value, int* length) const;
    int getChildValue(const char* name, const char** value, int* length) const;

    // --- attributes; names compare ignoring case ---
    /// Number of attributes.
    int getAttribCount() const;
    /// Null when there is none.
    ZAttrib* getAttrib(int index) const;
    ZAttrib* getAttrib(const char* name) const;
    /// As getFirstChild() for attributes.
    ZAttrib* getFirstAttrib(int* pos) const;
    /// As getNextChild() for attributes.
    ZAttrib* getNextAttrib(int* pos) const;
    /// Index of the first attribute with that name, or -1.
    int findAttrib(const char* name) const;
    /// Adds a copy, or with replace sets the value of the one with that name. Returns 0.
    int addAttrib(const ZAttrib& attrib, bool replace);
    /// Deletes the attribute there, or the first one with that name.
    void removeAttrib(int index);
    void removeAttrib(const char* name);
    /// 0 and the value with its length in bytes; -1 when there is no such attribute.
    int getAttribValue(int index, const char** value, int* length) const;
    int getAttribValue(const char* name, const char** value, int* length) const;

    // --- subtrees ---
    /// Copies src's descendants below this branch, with withRoot src itself too. Only what stood when the
    /// call began is copied, so it ends also inside its own source. Negative: src is null or this branch,
    /// or a branch without a name was met.
    int addTree(const ZTBranch* src, bool withRoot);
    /// First match among the descendants, depth first, parents before children.
    ZTBranch* searchTree(const char* name) const;
    /// First match looking at all children of a branch before their own children.
    ZTBranch* highestBranch(const char* name) const;
    /// Calls back for every child of every branch (this one and below) that the name matches: with the
    /// attribute of that name, only for children that have it, or with null when attribName is null.
    /// Kept: the name is tested on the parent, the callback gets its children. False stops; returns false
    /// when it was stopped.
    bool scanTree(const char* name, const char* attribName, bool (*callback)(ZTBranch*, ZAttrib*, long),
                  long param);
    /// The branch, here or below, that links b; null when none does.
    ZTBranch* findLinkParent(const ZTBranch* b) const;

    /// An integer of the caller's. A tree cursor keeps the index of the child last visited in it.
    void remember(int value);
    /// The integer last stored.
    int recall() const;

    // --- binary form: little-endian, lengths and counts unsigned 32-bit ---
    /// Name length, name; type, flags, precision, low byte of the value length (1 byte each); the value:
    /// 1, 1, 2, 4, 4, 8 bytes for types 1 to 6, for type 7 a length and the bytes; attribute count and
    /// attributes (ZAttrib::save); child count and children. 0, or -1 at the first branch without a name.
    int save(std::ostream& out) const;
    /// Kept: reads one header byte where save() writes four, and keeps two levels only; callers that need
    /// a round trip use ztree::saveTree. Stops at the first short read. Returns 0.
    int load(std::istream& in);

private:
    template <class> friend class ztree_impl::BranchCore;
    template <class> friend class ztree_impl::TreeCore;
    friend class mZTBranch;
    explicit ZTBranch(mZTBranch& impl) noexcept : m_pImpl(&impl) {}
    void init();
    mZTBranch* m_pImpl;
};

/// ZTBranch with UTF-16 names, attribute texts and value text. Where it differs: "Rel" is recognised
/// ignoring case when attributes are added or removed; toString() gives UTF-16 and cuts the text of a
/// number at 99 units, and its length is in bytes.
class ZTREE_API ZTBranchW : public ZVersion {
public:
    ZTBranchW();
    /// Copies name, value and attributes as operator= does; the copy has no children and no parent.
    ZTBranchW(const ZTBranchW& other);
    explicit ZTBranchW(const zwchar* name, ZTBranchW* parent = nullptr);
    ZTBranchW(const zwchar* name, char value, ZTBranchW* parent = nullptr);
    ZTBranchW(const zwchar* name, unsigned char value, ZTBranchW* parent = nullptr);
    ZTBranchW(const zwchar* name, short value, ZTBranchW* parent = nullptr);
    ZTBranchW(const zwchar* name, int value, ZTBranchW* parent = nullptr);
    ZTBranchW(const zwchar* name, long value, ZTBranchW* parent = nullptr);
    ZTBranchW(const zwchar* name, double value, unsigned char precision, ZTBranchW* parent = nullptr);
    ZTBranchW(const zwchar* name, const void* data, int length, ZTBranchW* parent = nullptr);
    explicit ZTBranchW(const unsigned short* name, ZTBranchW* parent = nullptr);
    ZTBranchW(const unsigned short* name, char value, ZTBranchW* parent = nullptr);
    ZTBranchW(const unsigned short* name, unsigned char value, ZTBranchW* parent = nullptr);
    ZTBranchW(const unsigned short* name, short value, ZTBranchW* parent = nullptr);
    ZTBranchW(const unsigned short* name, int value, ZTBranchW* parent = nullptr);
    ZTBranchW(const unsigned short* name, long value, ZTBranchW* parent = nullptr);
    ZTBranchW(const unsigned short* name, double value, unsigned char precision, ZTBranchW* parent = nullptr);
    ZTBranchW(const unsigned short* name, const void* data, int length, ZTBranchW* parent = nullptr);
    ZTBranchW& operator=(const ZTBranchW& other);
    ~ZTBranchW() override;
    unsigned int getLibVersion() const override;

    // --- name and identity ---
    int setName(const zwchar* name);
    int setName(const unsigned short* name);
    /// The base name, null when there is none.
    const zwchar* getName() const;
    /// Base name and "Rel" value in brackets; the base name when there is no such attribute.
    const zwchar* getFullName() const;
    /// 1 the text names this branch, 0 it does not, -1 only the suffix differs.
    int equals(const zwchar* text) const;
    int equals(const unsigned short* text) const;
    void setParent(ZTBranchW* parent);
    ZTBranchW* getParent() const;
    /// 0 none, 1 char, 2 unsigned char, 3 short, 4 int, 5 long, 6 double, 7 bytes or text.
    unsigned char getType() const;
    /// Bit 0x01: another branch links this one.
    unsigned char getFlags() const;

    // --- value ---
    void setValue(char value);
    void setValue(unsigned char value);
    void setValue(short value);
    void setValue(int value);
    void setValue(long value);
    /// Kept: the precision becomes 255 whatever is passed; only the constructor keeps the given one.
    void setValue(double value, unsigned char precision);
    /// Copies `length` bytes; -1 means strlen(data). A zero byte follows the stored ones.
    void setValue(const void* data, int length);
    /// 0 and the value when the stored type is exactly the asked one; otherwise the stored type's code
    /// and nothing written. Values are never converted.
    int getValue(char* value) const;
    int getValue(unsigned char* value) const;
    int getValue(short* value) const;
    int getValue(int* value) const;
    int getValue(long* value) const;
    int getValue(double* value) const;
    /// For type 7: copies at most `size` bytes, fills the rest of the buffer with zeros, returns 0.
    int getValue(void* buffer, int size) const;
    /// Address and byte size of the stored value (4 for a long). 0, 1 for an empty type 7, -1 for none.
    int getValuePtr(const void** value, int* size) const;
    /// The value as text: decimal numbers, doubles with the stored precision and a decimal comma, bytes
    /// as they are. Null for no value. *length: bytes, unchanged when null is returned.
    const zwchar* toString(int* length) const;
    void freeString();

    // --- children ---
    int getChildCount() const;
    ZTBranchW* getChild(int index) const;
    ZTBranchW* getChild(const zwchar* name) const;
    ZTBranchW* getChild(const unsigned short* name) const;
    /// Steps through the children: *pos is the next index. Null behind the last.
    ZTBranchW* getFirstChild(int* pos) const;
    ZTBranchW* getNextChild(int* pos) const;
    /// Index of the first child that the text names, or -1. Constant time among many children.
    int findChild(const zwchar* name) const;
    int findChild(const unsigned short* name) const;
    /// Adds a copy of src (node only). With replace, a child of src's full name is assigned to instead.
    /// 0, or -1 when src has no name; *added (may be null) is the child written to.
    int addChild(const ZTBranchW& src, ZTBranchW** added, bool replace);
    /// Lists `child` here without owning it. -1 when it has no name.
    int linkChild(const ZTBranchW* child, bool replace);
    /// Takes ownership of child and puts it at index; a negative index appends. What stood at the index
    /// is not deleted: it becomes the caller's again.
    int setChild(ZTBranchW* child, int index);
    /// Takes the child out and deletes it, unless it is linked.
    void removeChild(int index);
    void removeChild(const zwchar* name);
    void removeChild(const unsigned short* name);
    /// Bytes of a type 7 child, else the child's toString(). 0, 1 when there is no text, -1 no such child.
    int getChildValue(int index, const char** value, int* length) const;
    int getChildValue(const zwchar* name, const char** value, int* length) const;
    int getChildValue(const unsigned short* name, const char** value, int* length) const;

    // --- attributes; names compare ignoring case ---
    int getAttribCount() const;
    ZAttribW* getAttrib(int index) const;
    ZAttribW* getAttrib(const zwchar* name) const;
    ZAttribW* getAttrib(const unsigned short* name) const;
    ZAttribW* getFirstAttrib(int* pos) const;
    ZAttribW* getNextAttrib(int* pos) const;
    int findAttrib(const zwchar* name) const;
    int findAttrib(const unsigned short* name) const;
    /// Adds a copy, or with replace sets the value of the one with that name. Returns 0.
    int addAttrib(const ZAttribW& attrib, bool replace);
    void removeAttrib(int index);
    void removeAttrib(const zwchar* name);
    void removeAttrib(const unsigned short* name);
    /// 0 and the value with its length in units; -1 when there is no such attribute.
    int getAttribValue(int index, const zwchar** value, int* length) const;
    int getAttribValue(const zwchar* name, const zwchar** value, int* length) const;
    int getAttribValue(const unsigned short* name, const zwchar** value, int* length) const;

    // --- subtrees ---
    /// Copies src's descendants below this branch, with withRoot src itself too. Only what stood when the
    /// call began is copied, so it ends also inside its own source. Negative: src is null or this branch,
    /// or a branch without a name was met.
    int addTree(const ZTBranchW* src, bool withRoot);
    /// First match among the descendants, depth first, parents before children.
    ZTBranchW* searchTree(const zwchar* name) const;
    ZTBranchW* searchTree(const unsigned short* name) const;
    /// First match looking at all children of a branch before their own children.
    ZTBranchW* highestBranch(const zwchar* name) const;
    ZTBranchW* highestBranch(const unsigned short* name) const;
    /// Calls back for every child of every branch (this one and below) that the name matches: with the
    /// attribute of that name, only for children that have it, or with null when attribName is null.
    /// Kept: the name is tested on the parent, the callback gets its children. False stops; returns false
    /// when it was stopped.
    bool scanTree(const zwchar* name, const zwchar* attribName, bool (*callback)(ZTBranchW*, ZAttribW*, long),
                  long param);
    bool scanTree(const unsigned short* name, const unsigned short* attribName,
                  bool (*callback)(ZTBranchW*, ZAttribW*, long), long param);
    /// The branch, here or below, that links b; null when none does.
    ZTBranchW* findLinkParent(const ZTBranchW* b) const;

    /// An integer of the caller's. A tree cursor keeps the index of the child last visited in it.
    void remember(int value);
    int recall() const;

    // --- binary form: little-endian, lengths and counts unsigned 32-bit ---
    /// As ZTBranch::save with the name's length in units and 2 bytes a unit.
    int save(std::ostream& out) const;
    /// Kept: reads one header byte where save() writes four, and keeps two levels only; callers that need
    /// a round trip use ztree::saveTree. Stops at the first short read. Returns 0.
    int load(std::istream& in);

private:
    template <class> friend class ztree_impl::BranchCore;
    template <class> friend class ztree_impl::TreeCore;
    friend class mZTBranchW;
    explicit ZTBranchW(mZTBranchW& impl) noexcept : m_pImpl(&impl) {}
    void init();
    mZTBranchW* m_pImpl;
};

/// Owns one tree of branches through its root and keeps a cursor into it: a current branch and that
/// branch's parent. The cursor uses each branch's memo (remember/recall) as the index of the child last
/// visited.
///
/// A complete walk: reset(); descend(0); next() until null, descending into each branch returned, and
/// ascend() after its children. Kept: the first next() after descend(i) returns child i again.
///
/// Ownership: owns the root and with it the whole tree; branches that the cursor returns stay the tree's.
/// Threads: no lock; one tree and its cursor belong to one thread at a time.
/// Failure: structExcept 0x84201001 when memory is short. Movements that cannot be made return null and
///     leave the cursor, but ascend() from the root and next() past the last sibling leave no current branch.
class ZTREE_API ZTree : public ZVersion {
public:
    ZTree();
    ZTree(const ZTree& other);
    /// Copies the whole tree; the cursor of the copy is unset. A tree assigned to itself stays.
    ZTree& operator=(const ZTree& other);
    ~ZTree() override;
    unsigned int getLibVersion() const override;

    /// Deletes the tree.
    void clear();
    /// Deletes the tree and takes ownership of branch as the new root and current branch. Returns 0.
    int set(ZTBranch* branch);
    /// Null for an empty tree.
    ZTBranch* root() const;
    ZTBranch* current() const;
    /// Places the cursor, when branch is the root or has a parent in this tree.
    void current(ZTBranch* branch);
    /// Places the cursor on the root and returns it.
    ZTBranch* reset();
    /// The parent of a branch as the cursor sees it, or null.
    ZTBranch* findParent(const ZTBranch* branch) const;

    /// To a child by index, by name, by identity; null for the last argument means the child last added
    /// or visited. Returns the new current branch, or null and no move.
    ZTBranch* descend(int index);
    ZTBranch* descend(const char* name);
    ZTBranch* descend(const ZTBranch* child);
    ZTBranch* descend(std::nullptr_t) { return descend(static_cast<const ZTBranch*>(nullptr)); }
    /// To the parent.
    ZTBranch* ascend();
    /// To the next child of the parent of the current branch.
    ZTBranch* next();

    /// Adds a copy of branch (node only) below the current branch, or makes it the root of an empty tree.
    /// The cursor does not move, but for the new root. Returns addChild()'s result.
    int add(const ZTBranch& branch);
    /// Copies branch's descendants below the current branch; into an empty tree branch itself too.
    /// -1 for null and for the current branch itself.
    int insert(const ZTBranch* branch);
    int insert(const ZTree* tree);
    /// Removes the first child of the current branch with that name.
    void remove(const char* name);

    /// The root's binary form (ZTBranch::save); 0 for an empty tree.
    int save(std::ostream& out) const;
    /// Replaces the tree by what ZTBranch::load makes of the stream; the cursor is unset. Returns 0.
    int load(std::istream& in);

private:
    template <class> friend class ztree_impl::TreeCore;
    mZTree* m_pImpl;
};

/// ZTree over ZTBranchW.
class ZTREE_API ZTreeW : public ZVersion {
public:
    ZTreeW();
    ZTreeW(const ZTreeW& other);
    /// Copies the whole tree; the cursor of the copy is unset. A tree assigned to itself stays.
    ZTreeW& operator=(const ZTreeW& other);
    ~ZTreeW() override;
    unsigned int getLibVersion() const override;

    /// Deletes the tree.
    void clear();
    /// Deletes the tree and takes ownership of branch as the new root and current branch. Returns 0.
    int set(ZTBranchW* branch);
    ZTBranchW* root() const;
    ZTBranchW* current() const;
    /// Places the cursor, when branch is the root or has a parent in this tree.
    void current(ZTBranchW* branch);
    /// Places the cursor on the root and returns it.
    ZTBranchW* reset();
    ZTBranchW* findParent(const ZTBranchW* branch) const;

    /// To a child by index, by name, by identity; null for the last argument means the child last added
    /// or visited. Returns the new current branch, or null and no move.
    ZTBranchW* descend(int index);
    ZTBranchW* descend(const zwchar* name);
    ZTBranchW* descend(const unsigned short* name);
    ZTBranchW* descend(const ZTBranchW* child);
    ZTBranchW* descend(std::nullptr_t) { return descend(static_cast<const ZTBranchW*>(nullptr)); }
    ZTBranchW* ascend();
    ZTBranchW* next();

    /// Adds a copy of branch (node only) below the current branch, or makes it the root of an empty tree.
    /// The cursor does not move, but for the new root. Returns addChild()'s result.
    int add(const ZTBranchW& branch);
    /// Copies branch's descendants below the current branch; into an empty tree branch itself too.
    /// -1 for null and for the current branch itself.
    int insert(const ZTBranchW* branch);
    int insert(const ZTreeW* tree);
    /// Removes the first child of the current branch with that name.
    void remove(const zwchar* name);
    void remove(const unsigned short* name);

    /// The root's binary form (ZTBranchW::save); 0 for an empty tree.
    int save(std::ostream& out) const;
    /// Replaces the tree by what ZTBranchW::load makes of the stream; the cursor is unset. Returns 0.
    int load(std::istream& in);

private:
    template <class> friend class ztree_impl::TreeCore;
    mZTreeW* m_pImpl;
};

// --- text forms ---

/// Appends the tree as one line of markup to out: names, attributes and values as they are, without
/// escaping; numbers as the bytes of their binary value. Sets out's code page to 65001 and its growth
/// step to 256. 0, or 0x80070057 for a null tree.
ZTREE_API int treeString(ZTree* tree, ZString& out);

/// Writes the tree into out as indented markup, one element a line ended by CR LF, `indent` once a level.
/// A value that holds a control character is written as a hex dump below a line "[CDATA]".
/// 0, or 0x80070057 for a null tree.
ZTREE_API int treeText(ZTree* tree, const ZString& indent, ZString& out);

/// Writes the whole tree as an XML document (UTF-8 with a byte-order mark, DOCTYPE Debug "Debug.ztd") to a
/// file, replacing it; with a null tree the file is deleted. A file that cannot be written is skipped
/// without a report. The cursor of the tree is where it was afterwards.
ZTREE_API void SaveZTree(const char* fileName, ZTree* tree);
/// The same with a UTF-16 document.
ZTREE_API void SaveZTreeW(const char* fileName, ZTreeW* tree);

// --- configuration ---

/// The library's global configuration.
struct tagZTreeConfig {
    zulong version = 1;      ///< 0 applies nothing
    zulong spinCount = 4000; ///< of every lock made afterwards
};
/// Applies a configuration; meant for start-up, before containers exist. 0, or 0x80070057 for null.
ZTREE_API int setGlobalConfig(const tagZTreeConfig* config);
