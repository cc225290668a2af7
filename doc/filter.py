#!/usr/bin/env python3
"""Completes a public header for Doxygen: filter.py HEADER

The headers say a thing once: the comment stands at the first of several overloads, of the narrow twin, of a group
of functions alike. Here the others get a line that leads to it, and what means the same everywhere (destructors,
iterators, the names of the system) gets its sentence. What is left without a comment is reported by Doxygen.
"""
import re
import sys

SCOPE = re.compile(r'^\s*(?:template <.*?> )?(class|struct|union|enum class|enum|namespace|extern "C")\s*(?:ZTREE_API )?'
                   r'((?:std::)?[\w:<> ]*?)(?: final)?\s*(?:: .*)?\{$')
NAME = re.compile(r'(operator\s*(?:\(\)|\[\]|new(?:\[\])?|delete(?:\[\])?|[^\s\w(]+|[\w:]+[\w:\s*&]*?)|~?\w+)\s*\(')
VARIABLE = re.compile(r'(\w+)\s*(?:\[[^\]]*\])*\s*(?:=.*|\{.*)?;')

ITERATOR = {'iterator_category', 'value_type', 'difference_type', 'pointer', 'reference', 'iterator'}
CONTAINER = {'size', 'empty', 'begin', 'end', 'data', 'iterator'}


class Statement:
    def __init__(self, at, scope, access, text, documented, blank_before):
        self.at, self.scope, self.access, self.text = at, scope, access, text
        self.documented, self.blank_before = documented, blank_before
        self.name = self.find_name()
        self.function = '(' in re.sub(r'alignas\(.*?\)|__attribute__\(\(.*?\)\)', '', text.split('=')[0])

    def find_name(self):
        text = re.sub(r'^(?:template <.*?>+ )|__attribute__\(\(\w+\)\)|alignas\(\w+\)|\bZTREE_PRINTF\(.*?\)', '', self.text)
        text = text.split('///')[0].strip()
        if text.startswith('using'):
            return text.split()[1] if '=' in text else ''
        if text.startswith('typedef'):
            return re.findall(r'\w+', text)[-1]
        if text.startswith('#define'):
            return re.findall(r'\w+', text)[1]
        if re.match(r'^(class|struct|enum|union)\b', text):
            return re.sub(r'\b(class|struct|enum|union|ZTREE_API|final)\b', '', text.split('{')[0].split(':')[0]).strip()
        found = NAME.search(text.split(' = ')[0] if 'operator' not in text else text)
        if found and not text.startswith('static const') or found and '(' in text.split('[')[0]:
            return ' '.join(found.group(1).split())
        found = VARIABLE.search(text)
        return found.group(1) if found else re.findall(r'\w+', text)[0] if re.findall(r'\w+', text) else ''


def statements(lines):
    """The declarations of a header in order; only those at the indentation of their scope's members."""
    scopes, found = [], []
    documented = blank = False
    open_at = None
    prefix = None
    in_conditional = []
    for at, line in enumerate(lines):
        text = re.sub(r'([;{},)])\s*// .*', r'\1', line.strip())
        indent = len(line) - len(line.lstrip())
        inner = [s for s in scopes if s[0] != 'namespace']
        level = 4 * len(inner)
        if not text:
            blank, documented = True, False
            continue
        if text.startswith('#'):
            continue
        if text.startswith('///'):
            documented = True
            continue
        if text.startswith('//'):
            blank, documented = True, False
            continue
        if open_at is not None:                      # inside a body or a continued declaration
            if indent == level and text.startswith('}') or indent > level and text.endswith(';') and not open_at[1]:
                open_at = None
            elif indent == level and text.endswith('{') and not text.startswith(':'):
                open_at = (open_at[0], True)
            elif indent == level and not text.startswith('}') and text == '{':
                open_at = (open_at[0], True)
            elif indent > level and not open_at[1] and re.search(r'\{.*\}$', text):
                open_at = None
            continue
        if text.startswith('}'):
            if scopes and (indent == level - 4 or indent == level and scopes[-1][0] == 'namespace'):
                scopes.pop()
            documented = blank = False
            continue
        label = re.match(r'^(public|protected|private):$', text)
        if label:
            inner[-1][2] = label.group(1)
            blank, documented = True, False
            continue
        if indent != level:
            continue
        if text.startswith('template') and re.match(r'^template <.*>$', text):
            prefix = (at, text)
            continue
        start, whole = (prefix[0], prefix[1] + ' ' + text) if prefix else (at, text)
        prefix = None
        scope = '::'.join(s[1] for s in inner if s[1])
        access = 'private' if any(s[2] == 'private' for s in inner) else inner[-1][2] if inner else 'public'
        hidden = any(s[1] in ('ztree::detail', 'detail', 'platform', 'ztree_impl') for s in scopes)
        opened = SCOPE.match(line) if '(' not in line else None
        if opened:
            kind, name = opened.group(1), opened.group(2).strip()
            if kind == 'namespace':
                scopes.append(['namespace', name, 'public'])
                documented = blank = False
                continue
            found.append(Statement(start, scope, 'private' if hidden else access, whole, documented, blank))
            scopes.append(['enum' if 'enum' in kind else 'class', name, 'private' if kind == 'class' else 'public'])
            documented = blank = False
            continue
        ends = re.search(r'(;|\}|,)(\s*///<.*)?$', text) or inner and inner[-1][0] == 'enum'
        known = documented or '///<' in line or ' override' in text and '~' not in text # those inherit their comment
        if not (text.startswith(('friend class', 'friend struct', 'static_assert')) or 'class m' in text[:8]):
            found.append(Statement(start, scope, 'private' if hidden else access, whole, known, blank))
        if not ends:
            open_at = (at, text.endswith('{') and not text.endswith('= {'))
        documented = blank = False
    return found


def stem(name):
    return re.sub(r'(Ex|W|16|A|Utf8)+$', '', name).lower().replace('wstring', 'string').replace('stringw', 'string')


def comment(s, all_of, system):
    """The line for an undocumented declaration, None when somebody has to write it."""
    last = s.scope.split('::')[-1]
    plain = re.sub(r'<.*', '', last)
    if s.scope == 'std' or 'std::' in s.text.split('{')[0] and s.text.startswith('template <> struct'):
        return "For the standard library's containers: over the text."
    if s.scope.startswith('csv') and s.name in ('read', 'write'):
        return 'The value itself, not as text.'
    if s.scope.startswith('csv') and s.name == s.scope:
        return 'Identifier, where the value stands, formatting bits: see csvField.'
    if s.name.startswith(('s_p', 's_ap')):
        return 'Words of this language.'
    for other in all_of:
        if other.documented and other.scope == s.scope and other.name == s.name:
            return '@overload'
    if s.name.startswith('m_'):
        return "The implementation's."
    if s.scope.startswith('std::') or s.name.startswith('std::'):
        return "For the standard library's containers: over the text."
    if s.name in ('operator==', 'operator!=') and s.scope:
        return 'Field by field.'
    if s.name.startswith('operator new') or s.name.startswith('operator delete'):
        return "The library's heap, see ZVersion."
    if last == 'iterator' or s.name in ITERATOR:
        return 'Part of the iterator, as the standard library has it.'
    if '= delete' in s.text:
        return 'Not there.'
    if s.name == '~' + plain:
        return 'Ends the object; the class says what goes with it.'
    if s.function and s.name == plain and re.search(r'\((const %s&|%s&&)' % (plain, plain), s.text):
        return 'Copies or moves; the class says what the two share.'
    if s.name == 'operator=' and ('const %s&' % plain in s.text or '%s&&' % plain in s.text):
        return 'Copies or moves; the class says what the two share.'
    if s.name == 'getLibVersion':
        return 'Interface version, see ZVersion.'
    if s.name == plain and s.function and '()' in s.text:
        return 'An empty object.' if not system else None
    if s.name in CONTAINER and ('begin()' in s.text or s.name != 'iterator') and not s.scope.startswith('Z'):
        return 'As in the containers of the standard library.'
    if s.name == 'operator bool':
        return 'True for a result, a match or an error, as the class has it.'
    for wide, narrow in ((last, re.sub(r'WList$', 'List', last)), (last, re.sub(r'(W|Ex)$', '', last))):
        if wide != narrow:
            for other in all_of:
                if other.documented and other.scope.split('::')[-1] == narrow and (
                        other.name == s.name or other.name == narrow and s.name == last):
                    return 'As %s::%s.' % (narrow, other.name)
    previous = [o for o in all_of if o.at < s.at and o.scope == s.scope]
    for o in reversed(previous):
        if o.documented and stem(o.name) == stem(s.name):
            return 'See %s%s.' % (o.name, '()' if o.function else '')
    if system:
        return 'As on Windows.'
    return None


def main():
    path = sys.argv[1]
    with open(path, encoding='utf-8') as file:
        lines = file.read().split('\n')
    found = statements(lines)
    system = path.endswith('winnames.h')
    for s in found:
        if s.documented or s.access == 'private' or not s.name:
            continue
        text = comment(s, found, system)
        if text:
            line = lines[s.at]
            if system: # several in one declaration: one line each
                line = re.sub(r'(?<=\w), (?=\w+[,;])', lambda _: '; /** %s */ std::%s ' % (
                    text, 'uint64_t' if 'uint64_t' in line else 'uint32_t'), line) if ';' in line else line
            indent = len(line) - len(line.lstrip())
            lines[s.at] = '%s/** %s */ %s' % (line[:indent], text, line[indent:])
    for i, line in enumerate(lines):
        if '///' in line: # "@" begins a command nowhere but in these; an operator alone would begin a list
            line = re.sub(r'(`[^`]*`|"[^"]*")|@(?!file|def |typedef)', lambda m: m.group(1) or '\\@', line)
            lines[i] = re.sub(r'(///< )([^\w\s"`]+)$', r'\1`\2`', line)
    if system: # macros
        for i, line in enumerate(lines):
            if line.startswith('#define') and '///' not in line and len(line.split()) > 2:
                lines[i] = line + ' ///< As on Windows.'
    sys.stdout.write('\n'.join(lines))


if __name__ == '__main__':
    main()
