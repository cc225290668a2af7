#pragma once
/// @file csv.h
/// Delimited files to XML, record by record, and trees to delimited files.

#include "tool/files.h"
#include "tool/formats.h"

#include <ztree/csv.h>
#include <ztree/tree.h>

#include <string>
#include <vector>

namespace tool {

class Arguments;

/// How a delimited file looks and what its parts are called.
struct CsvStyle {
    char separator = ',';
    bool quoteAll = false;
    unsigned short escape = 0; ///< 1 backslash, 2 percent: then a record is a line without quotes
    bool header = false;
    std::string root = "rows";
    std::string row = "row";
    std::string rows; ///< path of the branches that become records; empty: the children of the root
    std::vector<std::string> types; ///< of the columns in order: text, int, number, amount, date, time
};

/// What the form "csv" goes by in this run.
CsvStyle& currentCsvStyle();
/// From the command line; throws a usage Failure.
CsvStyle csvStyle(const Arguments& arguments);
/// Parameters of the library's reader and writer.
void applyStyle(const CsvStyle& style, varnik::ztree::csvBuffer& buffer);

/// Takes XML text in pieces.
class XmlSink {
public:
    virtual ~XmlSink() = default;
    virtual void take(std::string_view text) = 0;
};

/// Converts a file ("-": standard input) without holding more than a piece of it. Throws a Failure, code 3
/// with the places of bad values.
void csvFileToXml(const std::string& name, const CsvStyle& style, const Layout& layout, XmlSink& sink);
/// The same for what was read already.
void csvTextToXml(const Source& source, const CsvStyle& style, const Layout& layout, XmlSink& sink);
/// One record for each row, one column for each name of an attribute ("@id") or child in any of them. A row
/// with branches two levels down is no record: Failure with exit code 2.
void treeToCsv(const ZTree& tree, const CsvStyle& style, Out& out);

} // namespace tool
