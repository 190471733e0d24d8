# SPDX-License-Identifier: Apache-2.0
# The faults that scripts/mutants can plant in a C++ source. It reads tokens and statements, no types: what does not compile is
# drawn again. It relies on clang-format's blanks, which tell a binary operator from a pointer, a reference or a template.
import bisect
import re
from dataclasses import dataclass

TOKEN = re.compile(
    r'''(?P<directive>^[ \t]*\#(?:\\.|[^\n\\])*)|(?P<space>\s+)|(?P<comment>//[^\n]*|/\*.*?\*/)
    |(?P<text>(?:u8|[uUL])?R"(?P<mark>[^(\s]*)\(.*?\)(?P=mark)"|(?:u8|[uUL])?"(?:\\.|[^"\\])*"|(?:u8|[uUL])?'(?:\\.|[^'\\])*')
    |(?P<number>\.?\d(?:[eEpP][+-]|'\w|[\w.])*)|(?P<name>[A-Za-z_]\w*)
    |(?P<sign><<=|>>=|\.\.\.|->|::|<<|>>|<=|>=|==|!=|&&|\|\||\+\+|--|[-+*/%&|^]=|.)''', re.X | re.S | re.M)
CLOSING = {'(': ')', '[': ']', '{': '}'}
COMPARISONS = {'==': ['!='], '!=': ['=='], '<': ['<=', '>'], '<=': ['<'], '>': ['>=', '<'], '>=': ['>']}
EXCHANGED = {'&&': '||', '||': '&&', '+': '-', '-': '+', '&': '|', '<<': '>>', '>>': '<<',
             '+=': '-=', '-=': '+=', '|=': '&='}
ASSIGNMENTS = {'=', '+=', '-=', '*=', '/=', '%=', '&=', '|=', '^=', '<<=', '>>='}
# What ends an operand of each operator, apart from brackets.
LOWER = {'|': {'&&', '||'}, '&&': {'||'}, '||': set()}
EXPRESSION_ENDS = {',', ';', '?', ':', 'return', '='}
NO_CALL = {'if', 'while', 'for', 'switch', 'return', 'sizeof', 'alignof', 'decltype', 'catch', 'noexcept', 'alignas', '__attribute__'}
# Calls whose first two arguments may be exchanged.
SYMMETRIC = {'memcmp', 'strcmp', 'strncmp', 'min', 'max', 'swap'}
NOT_EXECUTED = {'using', 'typedef', 'static_assert', 'struct', 'class', 'enum', 'union', 'friend'}
LOG = re.compile(r'FAPI_(LOG\w*|CAPTURE_FAILED)$')
LEVELS = {'FAPI_LOGE': 'FAPI_LOGD', 'FAPI_LOGD': 'FAPI_LOGI', 'FAPI_LOGI': 'FAPI_LOGE'}


@dataclass(frozen=True)
class Token:
    kind: str
    text: str
    begin: int
    end: int


@dataclass(frozen=True)
class Fault:
    operator: str
    function: str
    line: int
    before: str  # the lines, with single blanks
    after: str
    begin: int
    end: int
    text: str  # instead of what is from begin to end
    log: bool


def tokens_of(source):
    return [Token(m.lastgroup if m.lastgroup != 'mark' else 'text', m.group(), m.start(), m.end())
            for m in TOKEN.finditer(source) if m.lastgroup not in ('space', 'comment', 'directive')]


def blanks(text):
    return ' '.join(text.split())


def neighbours(headers):
    """Returns for each enumerator, and each macro of a group of numbers, those next to it."""
    found = {}
    for header in headers:
        groups = re.findall(r'\benum\b[^{};]*\{(.*?)\}', re.sub(r'//[^\n]*', '', header), re.S)
        kinds = [re.findall(r'(\w+)\s*(?:=[^,]*)?(?:,|$)', group.strip()) for group in groups]
        kinds += [re.findall(r'#define (\w+)', group) for group in re.findall(r'(?:#define \w+ \w+\b[^\n]*\n){2,}', header)]
        for kind in kinds:
            for one, two in zip(kind, kind[1:]):
                found.setdefault(one, []).append(two)
                found.setdefault(two, []).append(one)
    return found


def own_constants(source):
    """Returns the neighbours of constants of one type that are defined one after the other."""
    found = {}
    rows = re.findall(r'^\s*constexpr ([\w:]+(?: \w+)*) (k\w+) =', source, re.M)
    for (type1, one), (type2, two) in zip(rows, rows[1:]):
        if type1 == type2:
            found.setdefault(one, []).append(two)
            found.setdefault(two, []).append(one)
    return found


class Reader:
    """Finds all faults of a source."""

    def __init__(self, source, constants):
        self.source = source
        self.tokens = tokens_of(source)
        self.texts = [token.text for token in self.tokens]
        self.constants = {**constants, **own_constants(source)}
        self.lines = [m.start() for m in re.finditer('^', source, re.M)]
        self.function = ''
        self.faults = {}
        self.pair = {}
        stack = []
        for i, text in enumerate(self.texts):
            if text in CLOSING:
                stack.append(i)
            elif stack and text == CLOSING[self.texts[stack[-1]]]:
                self.pair[i] = stack[-1]
                self.pair[stack.pop()] = i

    def read(self):
        self.declarations(0, len(self.tokens))
        return list(self.faults.values())

    # --- Planting -----------------------------------------------------------------------------------------------------

    def plant(self, operator, first, last, text, log=False):
        """Replaces the tokens from first to last. Lines keep their numbers, which log lines print."""
        begin, end = self.tokens[first].begin, self.tokens[last].end
        text += '\n' * (self.source.count('\n', begin, end) - text.count('\n'))
        line = bisect.bisect_right(self.lines, begin) - 1
        line_end = self.source.find('\n', end)
        lines = self.source[self.lines[line]:line_end]
        shift = begin - self.lines[line]
        after = lines[:shift] + text + lines[shift + end - begin:]
        if blanks(after) != blanks(lines):
            fault = Fault(operator, self.function, line + 1, blanks(lines), blanks(after), begin, end, text, log)
            self.faults.setdefault((line, after), fault)

    def code(self, first, last):
        return self.source[self.tokens[first].begin:self.tokens[last].end]

    def is_binary(self, i):
        token = self.tokens[i]
        return self.source[token.begin - 1].isspace() and self.source[token.end].isspace()

    # --- Structure ----------------------------------------------------------------------------------------------------

    def declarations(self, i, end):
        """Reads a namespace's or a class's declarations."""
        head = []  # tokens of the declaration, without brackets' contents
        while i < end:
            text = self.texts[i]
            if text == '{':
                if 'namespace' in head or 'extern' in head and head[-1].startswith('"'):
                    self.declarations(i + 1, self.pair[i])
                    head = []
                elif 'enum' not in head:
                    head = self.braces_of_declaration(i, head)
                i = self.pair[i]
            elif text in CLOSING:
                head.append(text)
                i = self.pair[i]
                head.append(self.texts[i])
            elif text == '=' and '(' not in head and head and head[0] not in NOT_EXECUTED and head[-1] != 'operator':
                last = self.semicolon(i)
                self.expression(i + 1, last)
                i, head = last, []
            elif text == ';':
                head = []
            else:
                head.append(text)
            i += 1

    def braces_of_declaration(self, i, head):
        """Reads braces of a declaration: a class, a function or a value. Returns what the declaration has up to there."""
        function_end = {')', 'const', 'noexcept', 'override', 'final', 'try', 'mutable'}
        if {'class', 'struct', 'union'} & set(head) and head[-1] not in function_end:
            self.declarations(i + 1, self.pair[i])
            return ['type']
        if '(' in head and (head[-1] in function_end or '->' in head or head[-1] == '}'):
            self.function = next(name for name, text in zip(head, head[1:]) if text == '(' and name not in NO_CALL)
            self.block(i)
            self.function = ''
            return []
        if '(' not in head:
            self.expression(i, self.pair[i] + 1)
        return head + ['{', '}']

    def semicolon(self, i):
        while i < len(self.texts) and self.texts[i] not in (';', '}'):
            i = self.pair.get(i, i) + 1 if self.texts[i] in CLOSING else i + 1
        return i

    def block(self, opening, of_if=False):
        i = opening + 1
        while i < self.pair[opening]:
            i = self.statement(i, of_if)

    def statement(self, i, of_if=False):
        """Reads one statement. Returns the index of the next one."""
        text = self.texts[i]
        if text == '{':
            self.block(i, of_if)
            return self.pair[i] + 1
        if text in ('if', 'while', 'for', 'switch', 'catch'):
            opening = i + 2 if self.texts[i + 1] == 'constexpr' else i + 1
            closing = self.pair[opening]
            self.expression(opening + 1, closing)
            if text in ('if', 'while'):
                self.condition(text, opening, closing)
            after = self.statement(closing + 1, text == 'if')
            if text == 'if' and self.texts[after] == 'else':
                after = self.statement(after + 1, True)
            return after
        if text in ('do', 'try', 'else'):
            return self.statement(i + 1)
        if text in ('case', 'default'):
            while self.texts[i] != ':':
                i += 1
            return i + 1
        if text in NOT_EXECUTED or text == 'const' and self.texts[i + 1] in NOT_EXECUTED:
            return self.semicolon(i) + 1
        end = self.semicolon(i)
        if text == 'return':
            self.returned(i, end, of_if)
        elif text in ('break', 'continue'):
            self.plant('dropped ' + text, i, i, '')
        elif i < end:
            self.simple(i, end)
        return end + 1 if end < len(self.texts) and self.texts[end] == ';' else max(end, i + 1)

    def condition(self, kind, opening, closing):
        first = opening + 1
        for k in range(first, closing):  # after an initializing statement
            if self.texts[k] == ';':
                first = k + 1
        condition = self.code(first, closing - 1)
        self.plant('negated condition', first, closing - 1, f'!({condition})')
        if kind == 'if':
            self.plant('condition always true', first, closing - 1, f'({condition}) || true')
            self.plant('condition always false', first, closing - 1, f'({condition}) && false')

    def simple(self, i, end):
        top = []
        k = i
        while k < end:
            top.append(self.texts[k])
            k = self.pair[k] + 1 if self.texts[k] in CLOSING else k + 1
        kinds = [self.tokens[k].kind for k in range(i, end)]
        name = self.texts[i]
        declared = name in ('const', 'constexpr', 'static', 'auto') or len(top) > 1 and any(
            one == 'name' and two == 'name' for one, two in zip(kinds, kinds[1:]))
        if LOG.match(name) or name.startswith('log') and self.texts[i + 1] == '(':
            self.plant('missing log line', i, end - 1, '', log=True)
        elif not declared and ASSIGNMENTS & set(top):
            self.plant('dropped assignment', i, end - 1, '')
        elif not declared and self.texts[end - 1] in (')', '++', '--') or name in ('++', '--'):
            self.plant('dropped call', i, end - 1, '')
        self.expression(i, end)

    def returned(self, i, end, of_if):
        if of_if:
            self.plant('dropped return', i, end - 1, '')
        values = self.texts[i + 1:end]
        if len(values) == 1 and self.tokens[i + 1].kind == 'name' and values[0] not in ('true', 'false', 'nullptr', 'this'):
            self.plant('return of 0', i, end - 1, 'return 0')
        elif values and values[-1] == ')' and not LOG.match(values[0]):
            self.plant('return of 0', i, end - 1, f'return {self.code(i + 1, end - 1)}, 0')
        number = re.fullmatch(r'-?\d+', ''.join(values))
        if number:
            value = int(number.group())
            for other in {0: [-1], -1: [0, -2]}.get(value, [value - 1, value + 1]):
                self.plant('other return value', i, end - 1, f'return {other}')
        else:
            self.expression(i + 1, end)

    # --- Expressions --------------------------------------------------------------------------------------------------

    def expression(self, i, end):
        while i < end:
            token, text = self.tokens[i], self.texts[i]
            if token.kind == 'name' and LOG.match(text) and self.texts[i + 1] == '(':
                i = self.log_line(i)
                continue
            if text == '{':
                if self.is_lambda(i):
                    self.block(i)
                    i = self.pair[i] + 1
                    continue
                self.exchanged(i, 'exchanged elements')
            elif text == '(' and i > 0 and self.tokens[i - 1].kind == 'name' and self.texts[i - 1] not in NO_CALL:
                self.exchanged(i, 'exchanged arguments')
            elif text == '?':
                first = self.operand(i, -1, EXPRESSION_ENDS)
                self.plant('negated condition', first, i - 1, f'!({self.code(first, i - 1)})')
            elif token.kind == 'number':
                self.number(i)
            elif token.kind == 'name':
                self.name(i)
            elif token.kind == 'sign':
                self.sign(i)
            i += 1

    def is_lambda(self, i):
        before = self.texts[i - 1]
        return before in (')', ']', 'mutable') and self.texts[i - 1] != '=' or self.texts[i - 2] == '->'

    def name(self, i):
        text = self.texts[i]
        if text in ('true', 'false'):
            self.plant('true for false', i, i, 'false' if text == 'true' else 'true')
        for other in self.constants.get(text, []):
            self.plant('neighbour constant', i, i, other)

    def number(self, i):
        match = re.fullmatch(r"(0[xX][0-9a-fA-F']+|[0-9']+)([uUlLzZ]*)", self.texts[i])
        if not match:
            return
        digits, suffix = match.group(1).replace("'", ''), match.group(2)
        value = int(digits, 16) if digits[:2] in ('0x', '0X') else int(digits, 8 if digits[0] == '0' else 10)
        for other in (value + 1, value - 1):
            sign = '-' if other < 0 else ''
            self.plant('constant by one', i, i, sign + (f'0x{abs(other):X}' if digits[1:2] in 'xX' and len(digits) > 1
                                                       else str(abs(other))) + suffix)

    def sign(self, i):
        text = self.texts[i]
        if text not in ('+=', '-=', '|=') and not self.is_binary(i):
            return
        for other in COMPARISONS.get(text, []):
            self.plant('other comparison', i, i, other)
        if text in EXCHANGED:
            self.plant('other operator', i, i, EXCHANGED[text])
        if text in LOWER:
            ends = EXPRESSION_ENDS | LOWER[text]
            operator = 'dropped flag' if text == '|' else 'dropped condition'
            first, last = self.operand(i, -1, ends | {text}), self.operand(i, 1, ends | {text})
            self.plant(operator, first, i, '')
            self.plant(operator, i, last, '')

    def operand(self, i, step, ends):
        """Returns the first or last token of the operand on one side of an operator."""
        k = i + step
        while 0 <= k < len(self.texts):
            text = self.texts[k]
            if text in ends or text in ('([{' if step < 0 else ')]}') or text in ASSIGNMENTS:
                break
            if step < 0 and text in ')]}' or step > 0 and text in CLOSING:
                k = self.pair[k]
            k += step
        return k - step

    def parts(self, opening):
        """Returns what commas part in brackets, as pairs of first and last token."""
        parts, first, k, angles = [], opening + 1, opening + 1, 0
        while k < self.pair[opening]:
            text = self.texts[k]
            if text in CLOSING:
                k = self.pair[k]
            elif text == '<' and not self.is_binary(k):
                angles += 1
            elif text in ('>', '>>') and not self.is_binary(k):
                angles = max(0, angles - len(text))
            elif text == ',' and angles == 0:
                parts.append((first, k - 1))
                first = k + 1
            k += 1
        if first < self.pair[opening]:
            parts.append((first, self.pair[opening] - 1))
        return [part for part in parts if part[0] <= part[1]]

    def exchanged(self, opening, operator):
        parts = self.parts(opening)[self.texts[opening - 1] in SYMMETRIC:]
        for (first1, last1), (first2, last2) in zip(parts, parts[1:]):
            one, two = self.code(first1, last1), self.code(first2, last2)
            between = self.source[self.tokens[last1].end:self.tokens[first2].begin]
            self.plant(operator, first1, last2, two + between + one)

    def log_line(self, i):
        """Plants faults in a log line. Returns the index after it."""
        name, parts = self.texts[i], self.parts(i + 1)
        begin = re.match(r'FAPI_LOG[EDI]', name)
        if begin:
            self.plant('wrong level', i, i, LEVELS[begin.group()] + name[begin.end():], log=True)
        values = 2 if name.endswith('_AS') else 1 if begin else 0
        for first, last in parts[values:]:
            self.plant('wrong value', first, last, f'({self.code(first, last)}) + 1', log=True)
        return self.pair[i + 1] + 1


def faults_of(source, constants):
    return Reader(source, constants).read()
