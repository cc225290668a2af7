"""Compiles every expression of a natvis file as a member of the class that it is about: natvis.py FILE COMPILER...

A field that was renamed, moved or changed its type fails to compile. The values are looked at by run.sh alone.
"""
import re
import subprocess
import sys
import xml.etree.ElementTree as tree

HEADERS = 'ztree/tree.h text/mZString.h containers/mZArray.h attrib/attrib_core.h tree/branch_core.h tree/tree_core.h'
SPACE = '{http://schemas.microsoft.com/vstudio/debugger/natvis/2010}'


def expression(text):
    """EXPRESSION[,[COUNT]][FORMAT] as C++."""
    match = re.fullmatch(r'(.*?)(?:,(?:\[(.*)\])?\w*)?', text.strip())
    return ', '.join('static_cast<void>(%s)' % part for part in match.groups() if part)


def expressions(item):
    for part in item.iter():
        tag = part.tag.removeprefix(SPACE)
        if 'Condition' in part.attrib:
            yield expression(part.attrib['Condition'])
        if tag == 'DisplayString':
            for shown in re.findall(r'(?<!\{)\{([^{}]+)\}', part.text):
                yield expression(shown)
        elif tag in ('Item', 'Size', 'ValuePointer', 'ExpandedItem'):
            yield expression(part.text)


lines = ['#include "%s"' % header for header in HEADERS.split()]
count = 0
for item in tree.parse(sys.argv[1]).getroot().iter(SPACE + 'Type'):
    for name in [item.attrib['Name']] + [other.attrib['Name'] for other in item.iter(SPACE + 'AlternativeType')]:
        for text in expressions(item):
            lines.append('struct View%d : %s { void look() { %s; } };' % (count, name, text))
            count += 1
subprocess.run(sys.argv[2:] + ['-fsyntax-only', '-fno-access-control', '-std=c++17', '-xc++', '-'],
               input='\n'.join(lines) + '\n', text=True, check=True)
print('natvis: %d expressions fit the classes' % count)
