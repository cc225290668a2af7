#include <iostream>
#include <ztree/ext/tree.h>
#include <ztree/ext/xml.h>
int main()
{
    ZString text("<order id='7'><item>nut</item><item>bolt</item></order>\n\n");
    ZTree order;
    ztree::readXml(text.getBuffer(), order);
    ztree::set(order, "item[2]/@count", ztree::get<int>(order, "@id", 0) * 6);
    ztree::writeXml(order, text);
    std::cout << text.getBuffer();
}
