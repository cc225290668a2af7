#pragma once
// The work behind csvBuffer.

#include "csv/column_form.h"
#include "csv/columns.h"
#include "csv/field_value.h"

#include <ztree/csv.h>

class mCsvBuffer : public platform::HeapObject {
public:
    using Field = varnik::ztree::csvField;
    using Buffer = varnik::ztree::csvBuffer;

    /// A definition and its class.
    struct Slot {
        Field* field;
        ztree_impl::Kind kind;
    };

    explicit mCsvBuffer(Buffer* owner) noexcept;
    mCsvBuffer(const mCsvBuffer&) = delete;
    mCsvBuffer& operator=(const mCsvBuffer&) = delete;
    ~mCsvBuffer();
    /// Throws structExcept 0x84201001.
    void assign(const mCsvBuffer& other);

    int setData(const char* data, int length, unsigned codepage);
    int setData(const zwchar* text);

    int setParameter(unsigned p, unsigned short value) noexcept;
    unsigned short parameter(unsigned p) const noexcept { return p < parameters ? m_parameters[p] : 0; }
    void buildFormat() noexcept;
    int setFormat(const tagLocalFmt* fmt) noexcept;
    const tagLocalFmt& format() const noexcept { return m_format; }

    int addOrder(const unsigned short* ids, int count);
    void clearOrder()
    {
        m_order.clear();
        m_rising = 0;
    }
    const ZStringW& order() const noexcept { return m_order; }

    int addFields(const Field** list, int count);
    int listFields(const Field** out, int* count) const noexcept;
    void clearFields() noexcept;
    void relocate(const void* base) noexcept;
    /// Says at which address the definitions that were copied point.
    void setBase(std::uintptr_t base) noexcept { m_base = base; }
    int slots() const noexcept { return m_slotCount; }
    const Slot& slot(int i) const noexcept { return m_slots[i]; }
    /// The definition's value, in records from address 0 on unless the buffer was moved to one.
    ztree_impl::Spot spot(const Slot& slot) const noexcept
    {
        return ztree_impl::spotOf(*slot.field, slot.kind, m_parameters[varnik::ztree::csvParamCodepage],
                                  &m_format);
    }
    /// The record's address that the definitions point at now.
    std::uintptr_t base() const noexcept { return m_base; }

    bool hasLines() const noexcept { return m_line != m_end; }
    bool hasFields() const noexcept
    {
        return m_record ? m_open : m_field != m_fieldEnd && m_lineRules.splits.count() > 0;
    }
    int scanAll(const void* record);
    int scanLine(const void* record);
    int scanField(ZStringW& text);
    int createLine(ZString& line, const void* record);
    ztree_impl::LineStyle style() const noexcept;

private:
    static constexpr unsigned parameters = 32;
    using Text = ztree_impl::GrowingText<zwchar>;

    int adopt(platform::HeapPtr<zwchar>& block, std::size_t n) noexcept;
    bool growSlots() noexcept;
    /// Index of the first such identifier in the order, or -1.
    int placeOf(zwchar id) noexcept;
    void skipMark() noexcept;
    void skipLineEnds() noexcept;
    void beginLine() noexcept;
    void endRecord() noexcept;
    ztree_impl::Column<zwchar> nextColumn() noexcept;
    int storeColumn(const Slot& slot, ztree_impl::Column<zwchar> column);
    int appendValue(const Slot& slot);

    Buffer* m_owner;
    tagLocalFmt m_format;
    int m_lines = 0; // scanned by the last scanAll()
    std::uintptr_t m_base = 0;
    Slot* m_slots = nullptr; // by place in the order
    int m_slotCount = 0;
    ZStringW m_order; // identifiers
    int m_rising = 0; // so many of them, from the first on, are known to rise
    int m_placed = 0; // behind the place that was found last
    unsigned short m_parameters[parameters] = {};

    platform::HeapPtr<zwchar> m_data;
    zwchar* m_line = nullptr; // what is left to scan; at the start of a line
    zwchar* m_end = nullptr;
    platform::HeapPtr<zwchar> m_former; // data that columns are still to be read from, once it was replaced
    zwchar* m_field = nullptr;          // what is left of the line
    zwchar* m_fieldEnd = nullptr;
    bool m_record = false; // the line is one of m_recordRules
    bool m_open = false;   // a column of the record is left
    ztree_impl::LineRules<zwchar> m_lineRules;
    ztree_impl::RecordRules<zwchar> m_recordRules;

    Text m_out; // the line that is created
    ztree_impl::ColumnForm<zwchar> m_form;
    ZStringW m_text; // a value of fields that only their virtual operations know
};

/// For the other classes that stand on a buffer's settings.
struct mCsvAccess {
    static mCsvBuffer& of(const varnik::ztree::csvBuffer& buffer) noexcept { return *buffer.m_pImpl; }
    /// Makes `copy` a copy with the same formats, whose definitions have offsets. Throws structExcept
    /// 0x84201001.
    static void copySettings(varnik::ztree::csvBuffer& copy, const varnik::ztree::csvBuffer& from);
};
