// A consumer of the installed library: reads XML, writes it back and catches what the library throws.
#include <ztree/containers.h>
#include <ztree/ext/xml.h>
#include <ztree/runtime.h>

#include <climits>
#include <cstdio>
#include <cstring>

int main()
{
    const char* text = "<order><item>bread</item></order>";
    ZTree tree;
    if (!ztree::readXml(text, std::strlen(text), tree))
        return 1;
    ZString copy;
    ztree::writeXml(tree, copy, nullptr, {-1, false});
    std::printf("%s\n", copy.getBuffer());
    try {
        ZArray array;
        array.setGrowth(INT_MAX);
        array.setAt(1, text); // more entries than an array can have
    } catch (const structExcept& e) {
        std::printf("caught 0x%08X\n", e.getCode());
        return 0;
    }
    return 2;
}
