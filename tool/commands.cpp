#include "tool/formats.h"
#include "tool/options.h"

namespace tool {

const std::vector<Option>& globalOptions()
{
    static const std::vector<Option> table = {
        {'h', "help", Takes::nothing, "", "prints help and ends"},
        {'V', "version", Takes::nothing, "", "prints the version and ends"},
    };
    return table;
}

const std::vector<Command>& commands()
{
    static const Option format = {'f', "format", Takes::choice, readableFormats(),
                                  "form of the input; otherwise its first bytes tell"};
    static const std::vector<Command> table = {
        {"show",
         "FILE",
         1,
         1,
         "prints a tree as indented text",
         "Each branch is a line with its name, its attributes and its value. Texts stand in quotes and "
         "control "
         "characters are written as \\n, \\t or \\x1b, so that a branch never takes more than its line.",
         {{'p', "path", Takes::text, "PATH", "begins at every branch that PATH finds"},
          {'d', "depth", Takes::number, "N", "goes N levels down, 0 for the branch itself"},
          {'A', "no-attributes", Takes::nothing, "", "leaves attributes out"},
          {0, "color", Takes::choice, "auto|always|never",
           "colours; auto: on a terminal, unless NO_COLOR is set"},
          format},
         runShow},
        {"get",
         "FILE PATH...",
         2,
         -1,
         "prints values by path",
         "Prints the value of every branch or attribute that a PATH finds, a line each. The exit code is 1 "
         "when "
         "one of the paths finds nothing.\n"
         "A path is made of steps with \"/\" between: a name, \"*\" for any, \"[2]\" the second of a step, "
         "\"[@id='7']\" the ones with that attribute, \"//name\" at any depth; a last step \"@name\" is an "
         "attribute. A path that begins with \"/\" begins with the name of the root, any other below it.",
         {{'1', "first", Takes::nothing, "", "only the first value of each path"},
          {'c', "count", Takes::nothing, "", "prints how many there are instead"},
          {'x', "xml", Takes::nothing, "", "prints branches as XML with all below"},
          {'0', "null", Takes::nothing, "", "ends each value with a zero byte instead of a line end"},
          {'q', "quiet", Takes::nothing, "", "prints nothing; the exit code tells"},
          format},
         runGet},
        {"set",
         "FILE [PATH=VALUE]...",
         1,
         -1,
         "changes, adds and deletes values",
         "Branches and attributes that are missing are created. Deletions come after all assignments; a PATH "
         "to delete that finds nothing gives the exit code 1, and nothing is written. The result goes to "
         "standard output in the form of the input; of XML the comments, processing instructions, the "
         "DOCTYPE and "
         "the layout are not kept.\n"
         "With -i it replaces FILE: a new file is written beside it and takes its place when it is complete; "
         "the old one is kept under a number (a.xml becomes a000.xml).",
         {{'i', "in-place", Takes::nothing, "", "replaces FILE and keeps the old one as a numbered backup"},
          {'o', "output", Takes::file, "OUT", "writes to OUT"},
          {'D', "delete", Takes::text, "PATH", "deletes all that PATH finds; may be given again"},
          {'b', "backups", Takes::number, "N", "with -i: keeps at most N backups, 0 for none (default 10)",
           1000},
          format},
         runSet},
        {"check",
         "FILE...",
         1,
         -1,
         "tells whether files are well-formed",
         "An error is shown with its place and line; the exit code is then 3, and 2 when a file cannot be "
         "read "
         "and no other is malformed.",
         {{'q', "quiet", Takes::nothing, "", "prints nothing for a file that is well-formed"}, format},
         runCheck},
        {"convert",
         "FILE",
         1,
         1,
         "writes a tree in another form",
         "xml is a document, without the comments, processing instructions and DOCTYPE of the input; text is "
         "indented markup for people; paths is a line PATH=VALUE for every value; "
         "bin is the compact form that loads fastest and keeps the types of values; csv is a record for each "
         "row of values.\n"
         "A file that ends in .csv is read as csv: every record becomes an element with an element for each "
         "column, and files of any size become XML. Written as csv, the branches below the root are the "
         "rows, "
         "or those that --rows finds; their attributes (@name) and children are the columns. With --types "
         "every value is checked, and each bad one is reported with its place.",
         {{'t', "to", Takes::choice, writableFormats(), "form to write"},
          {'o', "output", Takes::file, "OUT", "writes to OUT instead of standard output"},
          {'n', "indent", Takes::number, "N", "blanks a level (default 2)", 1000},
          {'s', "single-line", Takes::nothing, "", "XML without line ends between elements"},
          {'d', "delimiter", Takes::text, "CHAR", "csv: between columns, or \"tab\" (default \",\")"},
          {'H', "header", Takes::nothing, "", "csv: the first record holds the names of the columns"},
          {'q', "quote-all", Takes::nothing, "", "csv: quotes every column"},
          {'e', "escape", Takes::choice, "none|backslash|percent",
           "csv: a record is a line, with escapes instead of quotes around line ends"},
          {0, "types", Takes::text, "LIST",
           "csv: types of the columns, of text, int, number, amount, date (2000-12-31), time (23:59:59)"},
          {0, "rows", Takes::text, "PATH", "to csv: the branches that are rows"},
          {0, "row", Takes::text, "NAME", "from csv: name of a record's element (default row)"},
          {0, "root", Takes::text, "NAME", "from csv: name of the root (default rows)"},
          format},
         runConvert},
        {"dump",
         "FILE",
         1,
         1,
         "prints bytes as a hexadecimal table",
         "Each line has the offset, 16 bytes and their characters.",
         {{'s', "skip", Takes::number, "N", "begins at offset N", ~0ul},
          {'n', "length", Takes::number, "N", "prints N bytes at most", ~0ul}},
         runDump},
        {"eval",
         "EXPR...",
         1,
         -1,
         "prints the values of integer expressions",
         "Operators from tight to loose: + - ! ~ before a value, * / %, + -, [ [= ] ]= (less, greater), == "
         "!=, "
         "&, ^, |, &&, ||. Numbers are decimal, or hexadecimal behind 0x; values have 32 bits. An error is "
         "shown with its place; the exit code is then 3.",
         {},
         runEval},
        {"backup",
         "FILE...",
         1,
         -1,
         "moves files aside under a number",
         "a.xml becomes a000.xml, a001.xml and so on: the first number that is free, or the oldest backup is "
         "replaced. Prints the name of each backup.",
         {{'n', "max", Takes::number, "N", "numbers to use (default 10)", 1000}},
         runBackup},
        {"words",
         "AMOUNT...",
         1,
         -1,
         "prints amounts of money in words",
         "AMOUNT is a number with a decimal point, rounded to hundredths.",
         {{'l', "language", Takes::choice, "en|de|ru", "language (default en)"},
          {'c', "currency", Takes::text, "CODE",
           "EUR, USD, RUB or KZT (default EUR); any other is taken as a word"},
          {'m', "modern", Takes::nothing, "", "today's wording: minus, \"forty\", right plurals"},
          {'d', "digits", Takes::nothing, "", "the fraction as two digits"},
          {'C', "capital", Takes::nothing, "", "the first letter in upper case"}},
         runWords},
        {"help", "[COMMAND]", 0, 1, "prints help", "", {}, runHelp},
        {"completion",
         "SHELL",
         1,
         1,
         "prints a completion script",
         "SHELL is bash. To use it: source <(ztree completion bash)",
         {},
         runCompletion},
        {"man",
         "",
         0,
         0,
         "prints the manual page",
         "In the form that man reads: ztree man | man -l -",
         {},
         runMan},
    };
    return table;
}

} // namespace tool
