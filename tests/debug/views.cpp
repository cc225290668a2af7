// Something of everything that the debugger has views for; tests/debug/run.sh stops at look().
#include <ztree/tree.h>

struct Views {
    ZString none;
    ZString text = ZString("Gr\xC3\xBC\xC3\x9F \"Gott\"\n", -1, 65001);
    ZString ansi = ZString("M\xFCller", -1, 1252);
    ZString longText = ZString("a text that needs a block of its own", -1, 65001);
    ZStringW wide = ZStringW(u"Stra\u00DFe");
    ZArray array;
    ZAttrib attrib = ZAttrib("id", "7");
    ZAttribW wideAttrib = ZAttribW(ZTEXT("\u00E4"), ZTEXT("\u20AC 5"));
    ZTBranch branch = ZTBranch("Price", 12.5, 2);
    ZTBranchW wideBranch = ZTBranchW(ZTEXT("Ma\u00DF"), 7);
    ZTree empty;
    ZTree tree;
    ZTreeW wideTree;
};

extern "C" __attribute__((noinline)) int look(const Views* views)
{
    return views->tree.root()->getChildCount();
}

int main()
{
    static const char target[] = "here";
    Views views;
    views.array.add(target);
    views.array.add(nullptr);
    views.tree.set(new ZTBranch("Order"));
    views.tree.root()->addAttrib(ZAttrib("id", "7"), false);
    views.tree.add(ZTBranch("Count", 3));
    views.tree.add(ZTBranch("Item(main)", "nut", -1));
    views.tree.add(ZTBranch("Note"));
    views.tree.descend("Note");
    views.tree.add(ZTBranch("Text", "a\tb", -1));
    views.wideTree.set(new ZTBranchW(ZTEXT("Gr\u00F6\u00DFe"), long{-5}));
    return look(&views) == 3 ? 0 : 1;
}
