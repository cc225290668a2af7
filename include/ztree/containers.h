#pragma once
/// @file containers.h
/// Pointer arrays that threads may share, sorted arrays, COM-pointer arrays, shared objects.

#include <ztree/runtime.h>
#include <ztree/types.h>
#include <ztree/version.h>

#include <atomic>

class mZArray;
class mZComArray;

/// Growable array of untyped pointers that several threads may share.
///
/// Ownership: owns its slots, never what they point at; callers free the objects.
/// Threads: every operation but size() holds this array's lock for its whole work; none holds the
///     locks of two arrays. Assignment and copying read the source without its lock: nobody may change
///     it meanwhile. A pointer from getAt() lives as long as the callers' own protocol says.
/// Failure: constructors throw structExcept 0x84201001 (memory) or 0x84201002 (lock). Whatever changes
///     the capacity throws 0x8007000E when the entries cannot be allocated, or when there would be more
///     of them than an int counts, and leaves the array as it was.
///
/// Capacity is a number of entries: it grows by the growth step (10 unless set), and entries up to it
/// come without an allocation. Appending n entries one by one costs O(n).
class ZTREE_API ZArray : public ZVersion {
public:
    /// Empty: capacity 0, growth 10.
    ZArray();
    /// Holds the same pointers, with the source's capacity and growth.
    ZArray(const ZArray& other);
    /// Takes over the other's pointers, capacity, growth and count, and the spare slots as they are.
    /// Assigning an array to itself changes nothing.
    const ZArray& operator=(const ZArray& other);
    ~ZArray() override;
    unsigned int getLibVersion() const override;

    // --- capacity ---
    /// Makes the capacity n entries; entries from n on are cut off, the spare slots become null, and
    /// n = 0 gives the memory back. Returns 0, or 0x80070057 for a negative n.
    int resize(int n);
    /// Sets the growth step, n entries; 0 and negative values leave it. Returns the previous one.
    int setGrowth(int n);
    /// Gives spare entries back: resize(size()) unless the array is full. Returns 0.
    int compact();

    // --- entries ---
    /// Appends p, which may be null. Returns 0.
    int add(const void* p);
    /// Takes entry i out and returns it; null and no change for i outside [0, size()). The entries
    /// behind it move down; the slot that becomes free keeps its value, see setAt().
    const void* remove(int i);
    /// Takes out the first entry equal to p, if any.
    void remove(const void* p);
    /// Forgets all entries; the capacity stays.
    void removeAll();
    /// Entry i, null for i outside [0, size()).
    const void* getAt(int i) const;
    /// Stores p at i. From size() on the count becomes i + 1, from the capacity on the capacity becomes
    /// i + growth. Entries in the gap are null where the array grew and otherwise what the slots hold: an
    /// earlier remove() leaves the last entry in the slot behind the end. Returns 0, or 0x80070057
    /// for a negative i.
    int setAt(int i, const void* p);
    /// Index of the first entry equal to p, -1 when there is none.
    int find(const void* p) const;
    /// Number of entries, read without the lock.
    int size() const;
    /// Copies the first `room` entries, or all if there are fewer, into `out` under one hold of the lock.
    /// Returns size() at that moment, which may be above room: then make room and ask again. A null
    /// `out` only counts. Never throws, never allocates.
    int copyEntries(const void** out, int room) const noexcept;

    /// Rounds of busy waiting before a thread that finds a lock taken goes to sleep; an upper bound.
    /// Every locked object of the library takes the value of the moment it is made. Set it before other
    /// threads make such objects.
    static zulong s_ulDefaultSpinCount;

protected:
    mZArray* m_pImpl;
};

/// What a sorted array holds: an object that knows its place among others.
class ZTREE_API ZSortObject {
public:
    ZSortObject() noexcept = default;
    ZSortObject(const ZSortObject&) noexcept {}
    ZSortObject& operator=(const ZSortObject&) noexcept { return *this; }
    virtual ~ZSortObject();
    /// Below 0 when this object sorts before `other`, 0 when they are equal, above 0 when it sorts after.
    /// Called while the array's lock is held: it must not wait for another thread.
    virtual int compare(const ZSortObject* other) const = 0;
};

/// Array of ZSortObject in ascending order of their own comparison.
///
/// Ownership: owns its objects and deletes those left in it when it is destroyed. Copying and assigning
///     copy the pointers: of two arrays that share objects, one has to be emptied with removeAll() first.
/// Threads: as ZArray; insert(), search(), get() and sort() hold the lock for their whole work.
/// Failure: as ZArray; an exception thrown by a comparison leaves the array as it was, except that
///     sort() may leave it partly sorted.
///
/// The array stays in order as long as objects come in through insert() and none changes its place
/// while it is held. Entries that the operations of ZArray put in anywhere may stand unsorted, and then
/// the descriptions below hold as scans. Null entries are skipped.
class ZTREE_API ZSortArray : public ZArray {
public:
    ZSortArray();
    ZSortArray(const ZSortArray& other);
    const ZSortArray& operator=(const ZSortArray& other);
    ~ZSortArray() override;
    unsigned int getLibVersion() const override;

    /// Puts obj behind the last entry that sorts before it, so in front of all that are equal to it,
    /// and owns it from then on. Returns its index, -1 for null (nothing changes). O(log n)
    /// comparisons on sorted contents, one when obj goes to the end.
    int insert(const ZSortObject* obj);
    /// Binary search with key->compare(). Returns the index of the first entry equal to key and stores the
    /// entry; -1 and null when there is none. `found` may be null.
    int search(const ZSortObject* key, const ZSortObject** found) const;
    /// Finds the last entry equal to key and stores its predecessor (offset -1), itself (0) or its
    /// successor (1). Returns 0; -1 and null when nothing is equal, there is no such neighbour, or the
    /// offset is another. `found` may be null.
    int get(const ZSortObject* key, int offset, const ZSortObject** found) const;
    /// Sorts all entries; the order of equal ones is not kept. Returns 0.
    int sort();
};

/// Locked array of COM-style pointers, with holes: a slot in the middle may be null.
///
/// Ownership: holds one reference on each object in it. remove() and the last slot of a copy are
///     exceptions, see there.
/// Threads: every operation but elements() and hi() holds this array's lock, also while it calls
///     AddRef and Release. Assignment and copying read the source without its lock.
/// Failure: as ZArray.
class ZTREE_API ZComArray : public ZVersion {
public:
    /// Empty: capacity 0, growth 10.
    ZComArray();
    ZComArray(const ZComArray& other);
    /// Releases what is held and takes over the other's entries, capacity and growth, with a reference
    /// on each entry but the one at hi(): on that one the caller has to add the reference.
    /// Assigning an array to itself changes nothing.
    const ZComArray& operator=(const ZComArray& other);
    ~ZComArray() override;
    unsigned int getLibVersion() const override;

    // --- entries ---
    /// Puts p behind the entry at hi(), never into a hole, and adds a reference. Returns 0, -1 for null.
    int add(IUnknown* p);
    /// Takes entry i out and returns it with the array's reference: the caller releases it. The entries
    /// behind it move down. Null for a hole and for i outside [0, hi()].
    IUnknown* remove(int i);
    /// Takes out the first entry equal to p. Its reference is not released: it is the caller's
    /// from then on. Returns 0, 0x80004005 when p is not there.
    int remove(IUnknown* p);
    /// Releases all entries and gives the slots back: capacity 0.
    void removeAll();
    /// Entry i with a reference that the caller releases; null for a hole and for i outside [0, hi()].
    IUnknown* getAt(int i) const;
    /// The first entry at or behind *pos, with a reference that the caller releases; *pos becomes the
    /// index behind it. Null and no change of *pos when there is none or *pos is outside [0, hi()].
    IUnknown* getForward(int* pos) const;
    /// The first entry at or before *pos, or hi() if that is less, with a reference that the caller
    /// releases; *pos becomes the index before it. Null and no change of *pos when there is none.
    IUnknown* getReverse(int* pos) const;
    /// Stores p with a new reference at i, releasing what was there; null makes a hole. From the capacity
    /// on the capacity becomes i + growth. Returns 0; 0x80004005 for a null p behind the capacity,
    /// 0x80070057 for a negative i.
    int setAt(int i, IUnknown* p);
    /// Index of the first entry equal to p, -1 when there is none; addRef: with a reference added for
    /// the caller.
    int find(IUnknown* p, bool addRef) const;
    /// Copies the first `room` non-null entries in order of their index, or all if there are fewer, into
    /// `out` under one hold of the lock, each with a reference that the caller releases. Returns how many
    /// there are, which may be above room. A null `out` only counts. Never throws, never allocates.
    int copyEntries(IUnknown** out, int room) const noexcept;

    // --- numbers ---
    /// Number of non-null entries, read without the lock.
    int elements() const;
    /// Highest index in use, -1 when empty, read without the lock.
    int hi() const;
    /// Sets the growth step, n slots; 0 and negative values leave it. Returns the previous one.
    int setGrowth(int n);
    /// pack: moves all entries to the front in their order, so that no holes are left. Then, when slots are
    /// free behind hi(): shrink makes the capacity elements() slots, otherwise all slots from index
    /// elements() on become null. Without pack either drops, unreleased, an entry that stands there.
    /// Returns 0.
    int compact(bool pack, bool shrink);

protected:
    /// Makes the capacity n slots. Entries behind index n are released; one at index n itself is
    /// dropped without a Release and still counted by elements(). Returns 0, or 0x80070057 for a
    /// negative n.
    int resize(int n);

    mZComArray* m_pImpl;
};

/// Base of objects that are shared through COM-style reference counting.
///
/// Ownership: the last Release() deletes the object through its virtual destructor, so it has to come
///     from `new`. A new object has count 0 and belongs to its maker until the first AddRef().
/// Threads: AddRef() and Release() from any thread; all else belongs to the owner.
/// Failure: nothing throws.
class ZTREE_API sharedObject : public IUnknown {
public:
    sharedObject() noexcept;
    /// Takes over the other's count as it is.
    sharedObject(const sharedObject& other) noexcept;
    sharedObject& operator=(const sharedObject& other) noexcept;

    /// Stores this object with a reference for IID_IUnknown and returns 0; for any other iid null and
    /// 0x80004002.
    HRESULT ZTREE_COMCALL QueryInterface(const GUID& iid, void** object) override;
    /// Returns the count as it is read after the increment; other threads' changes may be in it.
    zulong ZTREE_COMCALL AddRef() override;
    /// Returns the references left. A count of 0 stays 0: an object never added to is not deleted.
    zulong ZTREE_COMCALL Release() override;
    virtual ~sharedObject();

    /// Forgets all references without deleting, for an object that its owner is about to destroy.
    void resetRef() noexcept;

private:
    std::atomic<zlong> m_count;
};
