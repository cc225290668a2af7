// Delimited text into records and back: columns by number over a buffer, columns by name over a file.

#include <ztree/ext/csv.h>
#include <ztree/ext/strings.h>

#include <cstddef>
#include <iostream>
#include <string>

namespace {

using namespace varnik::ztree;

struct Order {
    char part[12] = {};
    int count = 0;
    zulong due = 0;   // packed date
    double total = 0; // amount
};

enum : unsigned short { idPart = 1, idCount, idDue, idTotal };

// Which column goes where in a record, and how dates and amounts are written.
csvBuffer orders()
{
    csvBuffer buffer;
    const unsigned short order[] = {idPart, idCount, idDue, idTotal};
    buffer.setFieldOrder(order, 4);
    buffer.addFieldDefinition(
        ::ztree::fieldAt<csvField>(idPart, offsetof(Order, part), 12, csvFlagTerminated));
    buffer.addFieldDefinition(::ztree::fieldAt<csvInt>(idCount, offsetof(Order, count)));
    buffer.addFieldDefinition(::ztree::fieldAt<csvDate>(idDue, offsetof(Order, due)));
    buffer.addFieldDefinition(::ztree::fieldAt<csvAmount>(idTotal, offsetof(Order, total), 2 | csvFlagRaw));
    buffer.setParameter(csvParamDateFormat, 2);   // DD.MM.YYYY
    buffer.setParameter(csvParamNumberFormat, 2); // 1.234,50
    buffer.setParameter(csvParamDialect, csvDialectRfc);
    buffer.setParameter(csvParamLineEnd, 1); // LF
    buffer.buildLocalFormat();
    return buffer;
}

} // namespace

int main()
{
    csvBuffer buffer = orders();
    Order order;
    buffer.setData("nut;40;29.02.2012;1.234,50\n\"a;b\";2;;0,99\n", -1, 65001);
    while (buffer.hasMoreLines() && buffer.scanLine(&order) >= 0)
        std::cout << order.part << ", " << order.count << ", " << order.due << ", " << order.total << '\n';

    // A file of any size: columns by their name in the header, every bad value with its place.
    csvBuffer settings = orders();
    ::ztree::CsvReader reader(settings);
    reader.bind(idCount, "Count");
    reader.bind(idPart, "Part");
    auto report = [](const ::ztree::CsvError& e) {
        std::cout << "line " << e.line << ", column " << e.column << ": " << ::ztree::csvReasonText(e.reason)
                  << ": " << e.text << '\n';
        return true;
    };
    reader.onError(report);
    reader.openText("Count;Note;Part\n7;\"two\nlines\";bolt\nmany;-;screw\n");
    if (reader.readHeader() < 0)
        return 1;
    Order next;
    while (reader.read(&next) > 0)
        std::cout << next.count << " x " << next.part << '\n';

    // And back to text.
    order.total = 7.5;
    ZString line;
    settings.createLine(line, &order);
    std::cout << line;
}
