"""file_level_names.py LIST: names at file level differ within a library and within a test program.

Sources that are compiled as one (cmake/KvUnifiedSources.cmake) share an anonymous namespace. The compiler finds a name that
two of them declare only if both are in the same batch, and every added source changes the batches. LIST has a line for each
target: its name and its sources, separated by "|".

Names count in whatever namespace they are, since one hides the other or makes it ambiguous. These may occur twice: functions
and variables with external linkage, which the linker compares; PrintTo, which is found by the types of its arguments;
aliases and using-declarations with the same text; a using-declaration of what another source defines.
"""

import collections
import re
import sys
from pathlib import Path

TOKEN = re.compile(r"""
    (?P<skip>\s+|//[^\n]*|/\*.*?\*/)
  | (?P<raw>(?:u8|[uUL])?R"(?P<mark>[^()\s\\]{0,16})\(.*?\)(?P=mark)")
  | (?P<text>(?:u8|[uUL])?"(?:\\.|[^"\\\n])*"|(?:u8|[uUL])?'(?:\\.|[^'\\\n])+')
  | (?P<word>[A-Za-z_]\w*)
  | (?P<number>\.?[0-9](?:[eEpP][+-]|'(?=\w)|[\w.])*)
  | (?P<sign>::|->|&&|\|\||<=>|[<>=!]=|.)
""", re.VERBOSE | re.DOTALL)
DIRECTIVE = re.compile(r"^[ \t]*#[ \t]*(\w+)[ \t]*(\w*)(?:[^\n\\]|\\.)*", re.MULTILINE | re.DOTALL)
CLOSING = {"(": ")", "[": "]", "{": "}"}
# Words before a parenthesis that are not the name of what is declared.
SPECIFIERS = {"alignas", "decltype", "explicit", "noexcept", "__attribute__", "__declspec"}
MACRO = re.compile("[A-Z][A-Z0-9_]+")
# Macros whose first two arguments are a name, those whose first argument is one, and one that declares a fixed name.
TEST_MACROS = {"TEST", "TEST_F", "TEST_P", "INSTANTIATE_TEST_SUITE_P"}
NAMING_MACROS = {"MATCHER", "MATCHER_P", "MATCHER_P2", "ACTION", "ACTION_P", "ACTION_P2"}
TRACE_SOURCE = "KV_TRACE_SOURCE"
OVERLOADED = {"PrintTo"}

# kind: type, value, function, alias, using, macro or test. is_internal: another source may have its own.
Name = collections.namedtuple("Name", "name kind is_internal text line")


class NotUnderstood(Exception):
    """The source has a form that this reader does not know."""


class Token(str):
    """A word, number or sign with its line. All texts are equal."""
    line = 0


def tokens_of(code):
    result = []
    line, end = 1, 0
    for match in TOKEN.finditer(code):
        line += code.count("\n", end, match.start())
        end = match.start()
        if match.lastgroup != "skip":
            token = Token('""' if match["raw"] or match["text"] else match.group())
            token.line = line
            result.append(token)
    return result


def blank(match):
    return "\n" * match.group().count("\n")


def macros_of(code):
    """The macros that are still defined at the end."""
    macros = {}
    for match in DIRECTIVE.finditer(code):
        if match[1] == "define":
            macros[match[2]] = Name(match[2], "macro", True, "", code.count("\n", 0, match.start()) + 1)
        elif match[1] == "undef":
            macros.pop(match[2], None)
    return list(macros.values())


def without_comments(code):
    """The code as DIRECTIVE needs it. Texts stay: one may look like a comment."""
    return TOKEN.sub(lambda match: blank(match) if match["skip"] and match["skip"][0] == "/" else match.group(), code)


def names_of(code):
    """All that a source declares at file level."""
    code = without_comments(code)
    reader = Reader(tokens_of(DIRECTIVE.sub(blank, code)))
    reader.read()
    return reader.names + macros_of(code)


class Reader:
    """Reads declarations one after another, without bodies and initialisers."""

    def __init__(self, tokens):
        self.names = []
        self._tokens = tokens
        self._at = 0
        self._scopes = []  # of each namespace that is open: whether it is anonymous

    def read(self):
        while self._at < len(self._tokens):
            if self._next() == "}":
                if not self._scopes:
                    raise NotUnderstood(f"line {self._next().line}: a brace too many")
                self._scopes.pop()
                self._at += 1
            elif not self._enter_scope():
                self._read_declaration()
        if self._scopes:
            raise NotUnderstood("a namespace is not closed")

    def _next(self, ahead=0):
        at = self._at + ahead
        return self._tokens[at] if at < len(self._tokens) else Token("")

    def _enter_scope(self):
        start = self._at
        if self._next() == "inline" and self._next(1) == "namespace":
            self._at += 1
        if self._next() == "namespace":
            length = 1
            while self._next(length) not in ("{", "=", ";", ""):
                length += 1
            if self._next(length) == "{":
                self._scopes.append(length == 1)
                self._at += length + 1
                return True
        elif self._next() == "extern" and self._next(1) == '""' and self._next(2) == "{":
            self._scopes.append(False)
            self._at += 3
            return True
        self._at = start
        return False

    def _skip_group(self):
        """Past a parenthesis, bracket or brace and what it closes."""
        pending = []
        while self._at < len(self._tokens):
            token = self._next()
            self._at += 1
            if token in CLOSING:
                pending.append(CLOSING[token])
            elif token in CLOSING.values():
                if pending.pop() != token:
                    raise NotUnderstood(f"line {token.line}: {token} closes nothing")
                if not pending:
                    return
        raise NotUnderstood("a group is not closed")

    def _skip_angles(self):
        """Past the arguments of a template."""
        depth = 0
        while self._at < len(self._tokens):
            token = self._next()
            depth += (token == "<") - (token == ">")
            self._skip_one()
            if depth == 0:
                return

    def _skip_one(self):
        """Past a group, or else one token."""
        if self._next() in CLOSING:
            self._skip_group()
        else:
            self._at += 1

    def _skip_past(self, sign):
        while self._next() != sign:
            if self._next() == "":
                raise NotUnderstood(f"{sign} is missing")
            self._skip_one()
        self._at += 1

    def _add(self, token, kind, is_internal=True, text=""):
        self.names.append(Name(str(token), kind, is_internal or any(self._scopes), text, token.line))

    def _read_declaration(self):
        first = self._next()
        if first == ";":
            self._at += 1
        elif first == "static_assert":
            self._skip_past(";")
        elif first in ("using", "typedef", "namespace"):
            self._read_alias()
        elif MACRO.fullmatch(first) and self._next(1) == "(":
            self._read_macro()
        elif first == "template":
            self._at += 1
            if self._next() == "<": # otherwise an instantiation
                self._skip_angles()
        elif first == "requires":
            raise NotUnderstood(f"line {first.line}: requires")
        else:
            self._read_type_or_declarators()

    def _read_alias(self):
        start = self._at
        self._skip_past(";")
        statement = self._tokens[start:self._at - 1]
        if statement[1] == "namespace" and statement[0] == "using":
            return
        if statement[0] == "typedef":
            name = statement[-1]
        elif "=" in statement:
            name = statement[statement.index("=") - 1]
        else:
            name = statement[-1]
        self._add(name, "alias" if "=" in statement or statement[0] == "typedef" else "using", text=" ".join(statement))

    def _read_macro(self):
        macro, start = self._next(), self._at + 2
        self._at += 1
        self._skip_group()
        if macro in TEST_MACROS:
            name = Token(f"{self._tokens[start]}.{self._tokens[start + 2]}")
            name.line = macro.line
            self._add(name, "test")
        elif macro in NAMING_MACROS:
            self._add(self._tokens[start], "value")
        elif macro == TRACE_SOURCE:
            self._add(macro, "value")
        if self._next() == "{":
            self._skip_group()
        elif self._next() == ";":
            self._at += 1

    def _read_type_or_declarators(self):
        start = self._at
        while self._next() in ("static", "const", "constexpr", "constinit", "inline", "extern", "thread_local"):
            self._at += 1
        specifiers = set(self._tokens[start:self._at])
        if self._next() in ("class", "struct", "union", "enum") and self._read_type():
            if self._next() == ";":
                self._at += 1
                return
        else:
            self._at = start
        self._read_declarators(start, specifiers)

    def _read_type(self):
        """Past a type that is defined or declared here. False if the keyword only precedes the name of a known type."""
        start = self._at
        is_enum = self._next() == "enum"
        self._at += 1
        is_scoped = is_enum and self._next() in ("class", "struct")
        self._at += is_scoped
        while self._next() == "[" or self._next() in SPECIFIERS:
            self._at += self._next() in SPECIFIERS
            self._skip_group()
        name = self._next() if re.match(r"[A-Za-z_]", self._next()) else None
        is_member = False
        while self._next() not in ("{", ";", ""):
            if self._next() == "<":
                self._skip_angles() # a specialisation
                is_member = True
            elif self._next() == ":":
                while self._next() not in ("{", ";", ""):
                    self._skip_one()
            elif self._next() in ("(", "=", ")"):
                self._at = start
                return False
            else:
                is_member |= self._next() == "::"
                self._at += 1
        if self._next() == ";":
            words = self._tokens[start:self._at]
            if len(words) > 2 + is_scoped and not is_enum:
                self._at = start
                return False
            return True # no definition
        if name is not None and not is_member:
            self._add(name, "type")
        body = self._at
        self._skip_group()
        if is_enum and not is_scoped:
            self._add_enumerators(self._tokens[body + 1:self._at - 1])
        return True

    def _add_enumerators(self, body):
        depth, is_name = 0, True
        for token in body:
            depth += (token in CLOSING) - (token in CLOSING.values())
            if is_name and depth == 0 and re.match(r"[A-Za-z_]", token):
                self._add(token, "value")
                is_name = False
            is_name |= depth == 0 and token == ","

    def _read_declarators(self, start, specifiers):
        """A function, or variables. What is static has internal linkage, and so has a variable that is constant."""
        is_static, is_constant = "static" in specifiers, not specifiers.isdisjoint({"const", "constexpr"})
        name = None
        while True:
            token = self._next()
            if token == "":
                raise NotUnderstood("the last declaration does not end")
            if token == "operator":
                self._at += 1
                if self._next() == "(": # that of a call
                    self._skip_group()
                while self._next() not in ("(", ""):
                    self._at += 1
                self._skip_to_end_of_function()
                return
            if token == "(":
                if self._read_parenthesis(name, is_static):
                    return
                name = None
            elif token in ("=", "{"):
                self._add_variable(name, is_static or is_constant)
                name = None
                if token == "=":
                    self._skip_initialiser()
                else:
                    self._skip_group()
            elif token in (",", ";"):
                if name is not None:
                    self._add_variable(name, is_static or is_constant)
                name = None
                self._at += 1
                if token == ";":
                    return
            elif token == "[":
                self._skip_group()
            elif token == "<" and name is not None:
                self._skip_angles()
            elif token in SPECIFIERS and self._next(1) == "(":
                self._at += 1
                self._skip_group()
            else:
                is_static |= token == "static"
                is_constant |= token in ("const", "constexpr")
                if re.match(r"[A-Za-z_]", token):
                    name = token
                    self._is_qualified = self._at > start and self._tokens[self._at - 1] in ("::", "~")
                elif token == ":":
                    raise NotUnderstood(f"line {token.line}: a colon")
                self._at += 1

    def _add_variable(self, name, is_internal):
        if name is not None and not self._is_qualified:
            self._add(name, "value", is_internal)

    def _read_parenthesis(self, name, is_static):
        """True at the end of a function's declaration; a variable's initialiser, and a pointer to a function, go on."""
        start = self._at
        self._skip_group()
        group = self._tokens[start + 1:self._at - 1]
        if "*" in group and self._next() in ("(", "[") and re.match(r"[A-Za-z_]", group[-1]):
            self._is_qualified = False
            self._add_variable(group[-1], is_static)
            self._skip_group()
            return False
        if name is None:
            raise NotUnderstood(f"line {self._tokens[start].line}: a parenthesis without a name before it")
        if not self._is_qualified:
            self._add(name, "function", is_static)
        self._at = start
        self._skip_to_end_of_function()
        return True

    def _skip_to_end_of_function(self):
        """From the parameters on: a body, or a semicolon. Initialisers of members may have braces, which others follow."""
        self._skip_group()
        has_initialisers = False
        while self._next() not in (";", ""):
            if self._next() == ":":
                has_initialisers = True
            if self._next() == "{":
                is_body = not has_initialisers or not re.match(r"[A-Za-z_]", self._tokens[self._at - 1])
                self._skip_group()
                if is_body:
                    return
            else:
                self._skip_one()
        self._at += 1

    def _skip_initialiser(self):
        while self._next() not in (",", ";", ""):
            if self._next() == "<" and self._is_template():
                self._skip_angles()
            else:
                self._skip_one()

    def _is_template(self):
        """Whether a comma in here belongs to the arguments of a template."""
        at = self._at
        while at < len(self._tokens) and re.match(r"[\w:<>,*&]", self._tokens[at]):
            if self._tokens[at] == ">":
                return True
            at += 1
        return False


def clashes_of(sources):
    """Each pair of names that must differ, as text; sources are {file: [Name]}."""
    known = collections.defaultdict(list)
    clashes = []
    for file, names in sources.items():
        for name in names:
            for other_file, other in known[name.name]:
                if other_file != file and may_clash(name, other):
                    clashes.append(f"{file}:{name.line}: {name.name} is also in {other_file}:{other.line}")
                    break
            known[name.name].append((file, name))
    return clashes


def may_clash(one, other):
    if one.kind == other.kind and one.kind in ("alias", "using") and one.text == other.text:
        return False
    if "using" in (one.kind, other.kind) and not (one.is_internal and other.is_internal):
        return False
    if one.kind == other.kind == "function" and one.name in OVERLOADED:
        return False
    return one.is_internal or other.is_internal


def main():
    targets = [line.split("|") for line in Path(sys.argv[1]).read_text(encoding="utf-8").splitlines()]
    known = {}
    findings = []
    for target, *files in targets:
        for file in files:
            if file not in known:
                try:
                    known[file] = names_of(Path(file).read_text(encoding="utf-8"))
                except NotUnderstood as error:
                    known[file] = []
                    findings.append(f"{file}: not understood: {error}")
        findings += [f"{target}: {clash}" for clash in clashes_of({file: known[file] for file in files})]
    count = sum(map(len, known.values()))
    print("\n".join([*findings, f"{count} names in {len(known)} sources of {len(targets)} targets, {len(findings)} findings"]))
    return 1 if findings or count < 1000 else 0


if __name__ == "__main__":
    sys.exit(main())
