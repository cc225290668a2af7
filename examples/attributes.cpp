// Attributes of a markup tag, and the tokens of a text.

#include <ztree/ext/attrib.h>
#include <ztree/ext/strings.h>

#include <iostream>

int main()
{
    // A list is filled from what stands in a tag. Names are found ignoring case, order is kept.
    ZAttribList list;
    std::cout << list.setData("id=\"7\" Name='small nut' hidden=yes") << " attributes\n";
    list.setAttrib("ID", "8");
    list.addAttrib("unit", "kg");
    list.removeAttrib("hidden");
    for (auto [name, value] : ztree::attribs(list))
        std::cout << "  " << name << " -> " << value << '\n';
    std::cout << "name: " << list.getAttrib("name")
              << ", colour: " << (list.getAttrib("colour") ? "there" : "none") << '\n';
    list.sort();
    std::cout << "first when sorted: " << list.elementAt(0) << '\n';

    // A tokenizer chooses its delimiters at each call: here a command, then a list, then the rest.
    ZTokenizer line("set  nut,bolt,screw  price = 3", nullptr, 0);
    std::cout << line.nextToken(" ") << ':';
    do
        std::cout << ' ' << line.nextToken(", ");
    while (line.lastSplit() == ',');
    std::cout << '\n';
    while (line.hasMoreTokens())
        std::cout << '<' << line.nextToken(" =") << '>';
    std::cout << '\n';

    // In exact mode every delimiter counts, so that empty columns stay.
    ZTokenizer row("7;;nut;", ";", 1);
    while (row.hasMoreTokens())
        std::cout << '[' << row.nextToken() << ']';
    std::cout << '\n';

    // Views of a text, without a copy: one empty token for each place that holds nothing.
    for (std::string_view column : ztree::tokens("7;;nut;", ";", ztree::Empty::keep))
        std::cout << '[' << column << ']';
    std::cout << '\n';
}
