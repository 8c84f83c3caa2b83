"""Where a single mistake can be planted in a source, and what it would be there."""

import re
from bisect import bisect_right
from dataclasses import dataclass, field

from source import CONTROLS, Source

OPERATORS = {
    "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"], "==": ["!="], "!=": ["=="],
    "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["/"],
    "&&": ["||"], "||": ["&&"], "&": ["|"], "|": ["&"], "^": ["&"], "<<": [">>"], ">>": ["<<"],
    "+=": ["-=", "="], "-=": ["+=", "="], "*=": ["/="], "/=": ["*="], "%=": ["/="],
    "|=": ["&=", "="], "&=": ["|=", "="], "^=": ["="], "<<=": [">>="], ">>=": ["<<="],
}
NEVER_DELETED = CONTROLS | {
    "case", "default", "else", "return", "do", "static_assert", "using", "typedef", "goto", "namespace", "template",
    "struct", "class", "union", "enum", "extern", "public", "private", "protected", "try", "friend", "co_return"}
NUMBER = re.compile(r"(0[xX])?([0-9a-fA-F']+?)([uUlLzZ]*)$")
MOST_EXCERPT = 300


@dataclass
class Change:
    """Bytes `start` to `end` of a file become `new`."""
    start: int
    end: int
    new: str


@dataclass
class Site:
    """One place; each of its variants is one mistake: what kind it is, and its changes."""
    kind: str
    start: int
    variants: list = field(default_factory=list)


class Finder:
    def __init__(self, text):
        self.source = Source(text)
        self.tokens = self.source.tokens
        self.asserted = self._asserted()
        self.sites = []
        self.returns = {}

    def find(self):
        for index, token in enumerate(self.tokens):
            if index in self.asserted:
                continue
            inside = self.source.scope_of[index].function() is not None
            if token.kind == "number":
                self._add("constant", index, self._numbers(index))
            elif token.kind == "char":
                self._add("constant", index, self._characters(token.text))
            elif token.text in ("true", "false"):
                self._add("constant", index, ["false" if token.text == "true" else "true"])
            elif inside and token.kind == "mark":
                self._operator(index)
            elif inside and token.text in ("if", "while", "for"):
                self._condition(index)
            if inside and token.text == "(":
                self._arguments(index)
            if inside:
                self._statement(index)
        self.sites.sort(key=lambda site: (site.start, site.kind))
        return self.sites

    def _asserted(self):
        indexes = set()
        for index, token in enumerate(self.tokens):
            if token.text in ("static_assert", "alignas") and self.tokens[index + 1].text == "(":
                indexes.update(range(index, self.source.partner[index + 1] + 1))
        return indexes

    def _add(self, kind, index, replacements):
        token = self.tokens[index]
        variants = [[Change(token.start, token.end, new)] for new in replacements]
        if variants:
            self.sites.append(Site(kind, token.start, variants))

    def _add_changes(self, kind, start, variants):
        if variants:
            self.sites.append(Site(kind, start, variants))

    def _text(self, first, behind):
        return self.source.text[self.tokens[first].start:self.tokens[behind - 1].end]

    def _numbers(self, index):
        words = [token.text for token in self.tokens[max(0, index - 2):index]]
        if words and words[-1] == "=" and self.tokens[index + 1].text == ";" and \
                words[0] in (")", "const", "override", "noexcept"):
            return []  # a function that is purely virtual
        text = self.tokens[index].text
        if re.fullmatch(r"[0-9.']+(e[0-9]+)?", text) and ("." in text or "e" in text):
            return [f"({text} + 1)", f"({text} - 1)"]
        match = NUMBER.match(text)
        if not match:
            return []
        prefix, digits, suffix = match.groups()
        base = 16 if prefix else 8 if digits.startswith("0") and len(digits) > 1 else 10
        try:
            value = int(digits.replace("'", ""), base)
        except ValueError:
            return []
        written = {16: lambda n: f"0x{n:X}", 8: lambda n: f"0{n:o}" if n else "0", 10: str}[base]
        return [written(new) + suffix for new in (value + 1, value - 1) if new >= 0]

    @staticmethod
    def _characters(text):
        if len(text) == 3 and text not in ("'~'", "'&'", "'['"):
            return ["'" + chr(ord(text[1]) + 1) + "'"]
        return {"'\\0'": ["'\\1'"], "'\\n'": ["' '"], "'\\r'": ["' '"], "'\\t'": ["' '"]}.get(text, [])

    def _operator(self, index):
        token = self.tokens[index]
        if token.text == "?":
            self._choice(index)
        elif token.text in OPERATORS and self.source.spaced(index):
            self._add("operator", index, OPERATORS[token.text])
        elif token.text in ("++", "--"):
            self._add("operator", index, ["--" if token.text == "++" else "++"])
        elif token.text in ("!", "~") or (token.text == "-" and not self._is_behind_operand(index)):
            self._add("operator", index, [""])

    def _is_behind_operand(self, index):
        before = self.tokens[index - 1]
        return before.kind in ("number", "char", "text") or before.text in (")", "]") or \
            (before.kind == "word" and before.text not in ("return", "case"))

    def _choice(self, index):
        """`c ? a : b` with a and b swapped, or one of them for both."""
        depth, at, colon = 0, index + 1, None
        while at < len(self.tokens):
            text = self.tokens[at].text
            if self.tokens[at].kind == "mark" and text in ("(", "[", "{"):
                at = self.source.partner[at] + 1
                continue
            if text == "?":
                depth += 1
            elif text == ":" and depth:
                depth -= 1
            elif text == ":" and colon is None:
                colon = at
            elif text in (";", ",", ")", "]", "}"):
                break
            at += 1
        if colon is None:
            return
        first, second = self._text(index + 1, colon), self._text(colon + 1, at)
        start, end = self.tokens[index + 1].start, self.tokens[at - 1].end
        between = self.source.text[self.tokens[colon - 1].end:self.tokens[colon + 1].start]
        self._add_changes("condition", self.tokens[index].start, [
            [Change(start, end, a + between + b)]
            for a, b in ((second, first), (first, first), (second, second))])

    def _condition(self, index):
        opening = index + 1
        if self.tokens[opening].text == "constexpr":
            opening += 1
        if self.tokens[opening].text != "(":
            return
        pieces = self.source.split(opening, ";")
        word = self.tokens[index].text
        if word == "for":
            if len(pieces) != 3:
                return
            first, behind = pieces[1]
        else:
            first, behind = pieces[-1]
        if first >= behind:
            return
        text = self._text(first, behind)
        fixed = ["true", "false"] if word == "if" else ["false"]
        start, end = self.tokens[first].start, self.tokens[behind - 1].end
        self._add_changes("condition", self.tokens[index].start,
                          [[Change(start, end, new)] for new in [f"!({text})"] + fixed])

    def _arguments(self, opening):
        name = self.tokens[opening - 1]
        if name.kind != "word" and name.text not in (">", "]"):
            return
        if name.text in CONTROLS or name.text in ("sizeof", "decltype", "return"):
            return
        if name.text == "]" or self.source.partner.get(opening) is None:
            return
        pieces = self.source.split(opening, ",")
        variants = []
        for (first, behind), (first_2, behind_2) in zip(pieces, pieces[1:]):
            if first >= behind or first_2 >= behind_2:
                continue
            one, two = self._text(first, behind), self._text(first_2, behind_2)
            if one != two:
                variants.append([Change(self.tokens[first].start, self.tokens[behind - 1].end, two),
                                 Change(self.tokens[first_2].start, self.tokens[behind_2 - 1].end, one)])
        self._add_changes("arguments", self.tokens[opening].start, variants)

    def _starts_statement(self, index):
        scope = self.source.scope_of[index]
        if scope.kind not in ("function", "block"):
            return False
        if self.tokens[index].text in ("{", "}", ";", ")", "(", "]", "[", ":"):
            return False
        before = self.tokens[index - 1]
        if before.text in ("{", ";"):
            return before.text == "{" or not self._inside_parentheses(index, scope)
        if before.text == "}":
            return self.source.scope_kind_at(index - 1) != "values" and not self._inside_parentheses(index, scope)
        if before.text == ")":
            at = self.source.partner[index - 1] - 1
            if self.tokens[at].text == "constexpr":
                at -= 1
            return self.tokens[at].text in CONTROLS
        if before.text in ("else", "do"):
            return True
        if before.text == ":":
            first = self.source.head(index - 1)
            return self.tokens[first].text in ("case", "default") and \
                all(token.text != "?" for token in self.tokens[first:index])
        return False

    def _inside_parentheses(self, index, scope):
        at = index - 1
        while at > scope.opening:
            text = self.tokens[at].text
            if text in (")", "]", "}") and at in self.source.partner:
                at = self.source.partner[at]
            elif text in ("(", "["):
                return True
            at -= 1
        return False

    def _statement(self, index):
        if not self._starts_statement(index):
            return
        self._early_return(index)
        end = self.source.statement_end(index)
        token = self.tokens[index]
        if end is None or token.text in NEVER_DELETED and not (token.text == "return" and end == index + 1):
            return
        if self._is_needed_declaration(index, end):
            return
        start, behind = token.start, self.tokens[end].end
        lines = self.source.text.count("\n", start, behind)
        self._add_changes("statement", start, [[Change(start, behind, ";" + "\n" * lines)]])

    def _is_needed_declaration(self, index, end):
        """A declaration whose name is used behind it, or that does nothing by itself."""
        at = index
        while self.tokens[at].text in ("const", "static", "constexpr", "auto"):
            at += 1
        declared = at > index
        if self.tokens[at].kind != "word":
            return declared
        while at < end and (self.tokens[at].text == "::" or self.tokens[at + 1].text == "::"):
            at += 1
        if self.tokens[at + 1].text == "<" and not self.source.spaced(at + 1):
            depth = 0
            at += 1
            while at < end:
                depth += {"<": 1, ">": -1, ">>": -2}.get(self.tokens[at].text, 0)
                if depth <= 0:
                    break
                at += 1
        at += 1
        while self.tokens[at].text in ("*", "&", "const") and not self.source.spaced(at):
            at += 1
        if self.tokens[at].kind != "word":
            return declared
        name, opening = self.tokens[at].text, self.tokens[at + 1].text
        if opening not in ("(", "{"):
            return True
        closing = self.source.scope_of[index].closing or len(self.tokens)
        return any(token.text == name for token in self.tokens[end:closing])

    def _early_return(self, index):
        function = self.source.scope_of[index].function()
        scope = self.source.scope_of[index]
        while scope is not function:
            if scope.name == "lambda":
                return
            scope = scope.parent
        if self.tokens[index].text in ("return", "case", "default", "else", "static_assert", "using"):
            return
        returns = function.returns or []
        new = "return; " if returns in ([], ["void"]) else "return {}; "
        start = self.tokens[index].start
        if function not in self.returns:  # one place for a whole function, which may end anywhere
            self.returns[function] = Site("early return", start)
            self.sites.append(self.returns[function])
        self.returns[function].variants.append([Change(start, start, new)])


@dataclass(frozen=True)
class Mutant:
    """One mistake, told by what stands there and not by where: `file`, `function`, `before`, `after`, and `nth` of those
    that read the same."""
    file: str
    kind: str
    function: str
    before: str
    after: str
    nth: int
    line: int
    text: str  # of the whole file

    def key(self):
        return (self.file, self.function, self.before, self.after, self.nth)


def squeezed(text):
    return re.sub(r"\s+", " ", text).strip()


def applied(text, changes):
    for change in sorted(changes, key=lambda each: -each.start):
        text = text[:change.start] + change.new + text[change.end:]
    return text


def excerpt(text, changes):
    """The lines that a mistake touches, before and after."""
    first = text.rfind("\n", 0, min(change.start for change in changes)) + 1
    last = text.find("\n", max(change.end for change in changes))
    last = len(text) if last < 0 else last
    moved = [Change(change.start - first, change.end - first, change.new) for change in changes]
    return squeezed(text[first:last]), squeezed(applied(text[first:last], moved))


def function_at(source, position):
    index = max(0, bisect_right(source.tokens, position, key=lambda token: token.start) - 1)
    scope = source.scope_of[index].function()
    return scope.name if scope else ""


def sites_of(text):
    """The places of a source, each a list of mistakes without their `file`: (kind, function, before, after, line, text)."""
    finder = Finder(text)
    places = []
    for site in finder.find():
        place = []
        for changes in site.variants:
            before, after = excerpt(text, changes)
            start = min(change.start for change in changes)
            place.append((site.kind, function_at(finder.source, start), before, after,
                          finder.source.line(start), applied(text, changes)))
        places.append(place)
    return places


def mutants_of(file, text):
    """The places of a file, each a list of its mutants."""
    seen = {}
    places = []
    for place in sites_of(text):
        mutants = []
        for kind, function, before, after, line, changed in place:
            nth = seen.get((function, before, after), 0) + 1
            seen[(function, before, after)] = nth
            mutants.append(Mutant(file, kind, function, before, after, nth, line, changed))
        places.append(mutants)
    return places
