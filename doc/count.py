#!/usr/bin/env python3
"""Counts the public names of the reference that have a comment and those that have none: count.py XML_FOLDER

A name is a class, function, variable, type, enumerator or macro with its scope; overloads are one name.
Lists what has none and fails then.
"""
import glob
import sys
import xml.etree.ElementTree as ET


def described(element):
    texts = (element.find(tag) for tag in ('briefdescription', 'detaileddescription', 'inbodydescription'))
    return any(t is not None and ''.join(t.itertext()).strip() for t in texts) or element.find('reimplements') is not None


def main():
    names = {}
    def note(name, element):
        names[name] = names.get(name, False) or described(element)

    for path in glob.glob(sys.argv[1] + '/*.xml'):
        for compound in ET.parse(path).getroot().findall('compounddef'):
            kind, scope = compound.get('kind'), compound.findtext('compoundname')
            if kind in ('dir', 'page', 'example') or compound.get('prot') == 'private':
                continue
            if kind in ('class', 'struct', 'union'):
                note(scope, compound)
            for member in compound.iter('memberdef'):
                name = member.findtext('name')
                if member.get('prot') == 'private' or member.get('kind') == 'friend' or name.startswith('m_'):
                    continue
                if kind == 'file' and member.findtext('qualifiedname', name) != name:
                    continue # counted with its namespace
                full = name if kind == 'file' else scope + '::' + name
                note(full, member)
                for value in member.findall('enumvalue'):
                    note(full + '::' + value.findtext('name'), value)
    missing = sorted(name for name, known in names.items() if not known)
    print('%d public names documented, %d undocumented' % (len(names) - len(missing), len(missing)))
    for name in missing:
        print('  ' + name)
    return 1 if missing else 0


sys.exit(main())
