"""Views of ztree's strings, arrays, attributes, branches and trees for gdb.

    (gdb) source ztree_gdb.py
    (gdb) print tree
    $1 = Order, 1 attribute, 2 children = {[@id] = "7", [Count] = 3, [Item] = "nut"}

They read memory alone, so that core files can be looked at, and know where the fields are, so that neither the
library nor the program needs debug information of the library's classes.
"""
import gdb
import gdb.printing

# Fields in their order; i is an int, p a pointer, b a byte, v the 8 bytes of a value.
LAYOUTS = {
    'object': 'p:table p:impl',
    'string': 'p:table p:owner p:block p:text i:capacity i:length i:growth i:codepage b:inline',
    'stringW': 'p:table p:owner p:block p:text i:capacity i:length i:growth b:inline',
    'array': 'p:table p:owner p:entries i:growth i:capacity i:count i:used',
    'attrib': 'p:name i:nameLength i:nameInBlock p:value i:valueLength',
    'branch': 'b:type b:flags b:precision b:bits b:changed i:inBlock i:length v:value p:owner p:parent p:name '
              'i:nameLength i:memo p:rel p:attribs i:attribCount i:attribRoom p:children i:childCount i:childRoom',
    'tree': 'p:root',
}
CODECS = {65001: 'utf-8', 0: 'cp1252', 28591: 'latin-1', 20127: 'ascii'}
NUMBERS = {1: ('signed char', int), 2: ('unsigned char', int), 3: ('short', int), 4: ('int', int), 5: ('long', int),
           6: ('double', float)}


def limit():
    """Units that are shown of a text, entries of a list."""
    return gdb.parameter('print elements') or 1 << 20


def number(address, kind):
    return gdb.Value(address).cast(gdb.lookup_type(kind).pointer()).dereference()


class Memory:
    """An object of the library at an address, its fields by name."""

    def __init__(self, layout, address):
        self.address, self.at, offset = address, {}, 0
        pointer = gdb.lookup_type('void').pointer().sizeof
        for field in LAYOUTS[layout].split():
            size = {'i': 4, 'p': pointer, 'b': 1, 'v': 8}[field[0]]
            offset += -offset % size
            self.at[field[2:]] = (field[0], address + offset)
            offset += size

    def __getitem__(self, name):
        kind, address = self.at[name]
        if kind == 'p':
            return int(gdb.Value(address).cast(gdb.lookup_type('void').pointer().pointer()).dereference())
        return int(number(address, 'int' if kind == 'i' else 'unsigned char'))

    def place(self, name):
        return self.at[name][1]


def text_of(address, length, codec):
    """Up to `limit` units at an address."""
    shown, unit = min(length, limit()), 2 if codec == 'utf-16-le' else 1
    if shown <= 0 or not address:
        return ''
    raw = gdb.selected_inferior().read_memory(address, shown * unit).tobytes()
    try:
        text = raw.decode(codec, 'replace')
    except LookupError:
        text = raw.decode('latin-1')
    return text + ('...' if shown < length else '')


def quoted(text):
    short = {'\n': '\\n', '\r': '\\r', '\t': '\\t', '\\': '\\\\', '"': '\\"'}
    return '"' + ''.join(short.get(c, c if c.isprintable() else '\\x%02X' % ord(c)) for c in text) + '"'


def counted(n, one, many):
    return '%d %s' % (n, one if n == 1 else many)


def pointers(start, count):
    pointer = gdb.lookup_type('void').pointer()
    first = gdb.Value(start).cast(pointer.pointer())
    return [first[i] for i in range(min(count, limit()))]


class Attrib:
    def __init__(self, address, wide):
        impl = Memory('object', address)['impl']
        fields = Memory('attrib', impl) if impl else None
        codec = 'utf-16-le' if wide else 'utf-8'
        self.name = text_of(fields['name'], fields['nameLength'], codec) if fields else ''
        self.value = quoted(text_of(fields['value'], fields['valueLength'], codec) if fields else '')


class Branch:
    def __init__(self, address, wide):
        impl = Memory('object', address)['impl']
        self.wide, self.fields, self.address = wide, Memory('branch', impl) if impl else None, address
        if not impl:
            self.name, self.value = '', None
            return
        fields = self.fields
        self.name = text_of(fields['name'], fields['nameLength'], 'utf-16-le' if wide else 'utf-8')
        self.value = None
        if fields['type'] == 7: # bytes, in the wide branch as well
            start = number(fields.place('value'), 'unsigned long')
            self.value = quoted(text_of(int(start), fields['length'], 'utf-8'))
        elif fields['type'] in NUMBERS:
            kind, plain = NUMBERS[fields['type']]
            self.value = str(plain(number(fields.place('value'), kind)))

    def listed(self, name, count):
        if not self.fields:
            return []
        room = self.fields[count[:-5] + 'Room'] # a single entry stands where the pointer would
        return [int(p) for p in pointers(self.fields[name] if room else self.fields.place(name), self.fields[count])]

    def line(self):
        parts = [self.name or '<no name>']
        if self.value is not None:
            parts[0] += ' = ' + self.value
        if self.fields and self.fields['attribCount']:
            parts.append(counted(self.fields['attribCount'], 'attribute', 'attributes'))
        if self.fields and self.fields['childCount']:
            parts.append(counted(self.fields['childCount'], 'child', 'children'))
        return ', '.join(parts)

    def parts(self, depth=8):
        """Name and view of what is below: a value where gdb knows the class, else text."""
        for address in self.listed('attribs', 'attribCount'):
            attrib = Attrib(address, self.wide)
            yield '[@%s]' % attrib.name, attrib.value
        try:
            known = gdb.lookup_type('ZTBranchW' if self.wide else 'ZTBranch')
        except gdb.error:
            known = None
        for i, address in enumerate(self.listed('children', 'childCount')):
            child = Branch(address, self.wide) if address else None
            if not child:
                yield '[%d]' % i, '<empty place>'
            elif not child.fields['attribCount'] and not child.fields['childCount']:
                yield '[%s]' % child.name, child.value or '<no value>'
            elif known:
                yield '[%s]' % child.name, gdb.Value(address).cast(known.pointer()).dereference()
            else:
                inside = ', '.join('%s = %s' % part for part in child.parts(depth - 1)) if depth else '...'
                yield '[%s]' % child.name, '%s = {%s}' % (child.line(), inside)


class Printer:
    """What all views share. `impl` is 0 for an object that never held anything."""

    def __init__(self, value):
        if value.type.strip_typedefs().code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            value = value.referenced_value()
        self.address = int(value.address)
        self.wide = gdb.types.get_basic_type(value.type).name.endswith('W')
        self.impl = Memory('object', self.address)['impl']


class StringPrinter(Printer):
    def to_string(self):
        if not self.impl:
            return '""'
        fields = Memory('stringW' if self.wide else 'string', self.impl)
        codepage = 65001 if self.wide else fields['codepage'] & 0xFFFFFFFF
        codec = 'utf-16-le' if self.wide else CODECS.get(codepage, 'cp%d' % codepage)
        text = quoted(text_of(fields['text'] or fields.place('inline'), fields['length'], codec))
        return text if codepage == 65001 else '%s, code page %d' % (text, codepage)


class ArrayPrinter(Printer):
    def to_string(self):
        fields = Memory('array', self.impl)
        return '%s, room for %d' % (counted(fields['count'], 'entry', 'entries'), fields['capacity'])

    def children(self):
        fields = Memory('array', self.impl)
        for i, entry in enumerate(pointers(fields['entries'], fields['count']) if fields['entries'] else []):
            yield '[%d]' % i, entry

    def display_hint(self):
        return 'array'


class AttribPrinter(Printer):
    def to_string(self):
        attrib = Attrib(self.address, self.wide)
        return '%s=%s' % (attrib.name, attrib.value)


class BranchPrinter(Printer):
    def to_string(self):
        return Branch(self.address, self.wide).line()

    def children(self):
        return Branch(self.address, self.wide).parts()


class TreePrinter(Printer):
    def root(self):
        root = Memory('tree', self.impl)['root'] if self.impl else 0
        return Branch(root, self.wide) if root else None

    def to_string(self):
        root = self.root()
        return root.line() if root else 'empty tree'

    def children(self):
        root = self.root()
        return root.parts() if root else iter(())


views = gdb.printing.RegexpCollectionPrettyPrinter('ztree')
views.add_printer('string', '^ZStringW?$', StringPrinter)
views.add_printer('array', '^Z(Sort)?Array$', ArrayPrinter)
views.add_printer('attribute', '^ZAttribW?$', AttribPrinter)
views.add_printer('branch', '^ZTBranchW?$', BranchPrinter)
views.add_printer('tree', '^ZTreeW?$', TreePrinter)
gdb.printing.register_pretty_printer(gdb.current_objfile(), views, replace=True)
