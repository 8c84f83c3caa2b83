"""A C or C++ source as tokens, with what its brackets enclose: enough to know where a statement, a condition or an
argument begins and ends in code that clang-format has laid out. Nothing is looked up in other files."""

import re

TOKEN = re.compile(
    r"""(?P<skip>\s+|//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:[^\n\\]|\\.|\\\n)*)
      |(?P<text>(?:u8|[uUL])?(?:R"(?P<mark>[^(\s]*)\(.*?\)(?P=mark)"|"(?:[^"\\\n]|\\.)*"))
      |(?P<char>'(?:[^'\\\n]|\\.[0-9a-fA-F]*)')
      |(?P<number>\.?[0-9](?:'?[0-9a-zA-Z.]|(?<=[eEpP])[+-])*)
      |(?P<word>[A-Za-z_]\w*)
      |(?P<mark2>->\*?|<=>|<<=|>>=|\.\.\.|::|\+\+|--|&&|\|\||[-+*/%&|^=!<>]=|<<|>>|.)""",
    re.VERBOSE | re.DOTALL | re.MULTILINE)

OPENING = {"(": ")", "[": "]", "{": "}"}
CONTROLS = {"if", "for", "while", "switch", "catch"}
TYPE_KEYWORDS = {"class", "struct", "union"}
NOT_A_RETURN_TYPE = {"static", "inline", "constexpr", "consteval", "explicit", "extern", "friend", "virtual",
                     "nodiscard", "maybe_unused", "noreturn", "public", "private", "protected"}


class Token:
    __slots__ = ("kind", "text", "start", "end")

    def __init__(self, kind, text, start):
        self.kind, self.text, self.start, self.end = kind, text, start, start + len(text)

    def __repr__(self):
        return self.text


class Scope:
    """What a pair of braces encloses: `kind` is namespace, type, enum, function, block or values."""

    def __init__(self, kind, parent, opening, name="", returns=None):
        self.kind, self.parent, self.opening, self.name, self.returns = kind, parent, opening, name, returns
        self.closing = None

    def function(self):
        scope = self
        while scope is not None and scope.kind != "function":
            scope = scope.parent
        return scope


class Source:
    def __init__(self, text):
        self.text = text
        self.tokens = []
        for match in TOKEN.finditer(text):
            kind = match.lastgroup if match.lastgroup != "mark" else "text"
            if kind == "mark2":
                kind = "mark"
            if match.group("text"):
                kind = "text"
            if kind != "skip":
                self.tokens.append(Token(kind, match.group(), match.start()))
        self.partner = {}
        self.scope_of = []
        self._kinds = {}
        self._match_brackets()
        self._find_scopes()

    def line(self, position):
        return self.text.count("\n", 0, position) + 1

    def spaced(self, index):
        """Whether a token has white space on both sides, as an operator between two operands has."""
        token = self.tokens[index]
        return self.text[token.start - 1].isspace() and self.text[token.end:token.end + 1].isspace()

    def _match_brackets(self):
        open_ones = []
        for index, token in enumerate(self.tokens):
            if token.kind != "mark":
                continue
            if token.text in OPENING:
                open_ones.append(index)
            elif token.text in (")", "]", "}") and open_ones:
                opening = open_ones.pop()
                self.partner[opening] = index
                self.partner[index] = opening

    def _find_scopes(self):
        scope = Scope("namespace", None, -1)
        self.top = scope
        for index, token in enumerate(self.tokens):
            if token.kind == "mark" and token.text == "}" and scope.parent is not None:
                scope.closing = index
                scope = scope.parent
                self.scope_of.append(scope)
                continue
            self.scope_of.append(scope)
            if token.kind == "mark" and token.text == "{":
                scope = self._scope_at(index, scope)

    def head(self, index):
        """Index of the first token of the statement or declaration that the token at `index` belongs to."""
        first = index
        while first > 0:
            text = self.tokens[first - 1].text
            if text in (";", "{"):
                break
            if text == "}" and self.scope_kind_at(first - 1) != "values":
                break
            if text in (")", "]", "}"):
                first = self.partner[first - 1]
                continue
            if text in ("(", "["):
                break
            if text == ":" and self.tokens[first - 2].text in ("public", "private", "protected"):
                break
            first -= 1
        return first

    def scope_kind_at(self, closing):
        opening = self.partner.get(closing)
        return self._kinds.get(opening, "block") if opening is not None else "block"

    def _scope_at(self, index, parent):
        kind, name, returns = self._classify(index, parent)
        self._kinds[index] = kind
        return Scope(kind, parent, index, name, returns)

    def _classify(self, index, parent):
        previous = self.tokens[index - 1] if index else Token("mark", ";", 0)
        head = self.tokens[self.head(index):index]
        words = [token.text for token in head]
        if parent.kind in ("namespace", "type"):
            if "namespace" in words or previous.kind == "text":
                return "namespace", "", None
            if "enum" in words:
                return "enum", "", None
            if any(word in TYPE_KEYWORDS for word in words) and "(" not in words and "=" not in words:
                return "type", "", None
            if "=" in words:
                return ("function", self._variable(head), ["auto"]) if previous.text in ("]", ")") \
                    else ("values", "", None)
            if previous.text in (")", "const", "noexcept", "override", "}") or "->" in words:
                return self._function(head)
            if "(" in words and previous.kind == "word" and ":" not in words:
                return self._function(head)
            return "values", "", None
        if parent.kind in ("values", "enum"):
            return "values", "", None
        if previous.text in ("{", "}", ";", "else", "do", ":") and previous.kind in ("mark", "word"):
            return "block", "", None
        if previous.text == ")":
            before = self.tokens[self.partner[index - 1] - 1]
            if before.text in CONTROLS or before.text == "constexpr":
                return "block", "", None
            if before.text == "]":
                return "block", "lambda", None
            return "values", "", None
        if previous.text == "]" and self._is_lambda(index - 1):
            return "block", "lambda", None
        if any(word in TYPE_KEYWORDS for word in words[:2]):
            return "type", "", None
        return "values", "", None

    def _is_lambda(self, closing):
        before = self.tokens[self.partner[closing] - 1]
        return before.text in ("(", ",", "=", "return", "{", "&&", "||", "?", ":")

    @staticmethod
    def _variable(head):
        words = [token.text for token in head]
        at = words.index("=")
        return words[at - 1] if at else ""

    def _function(self, head):
        depth = 0
        for at, token in enumerate(head):
            if token.text == "(" and depth == 0 and at > 0 and head[at - 1].kind == "word":
                name = head[at - 1].text
                first = at - 1
                while first >= 2 and head[first - 1].text == "::":
                    first -= 2
                if first >= 1 and head[first - 1].text == "~":
                    first -= 1
                returns = [each.text for each in head[:first]
                           if each.text not in NOT_A_RETURN_TYPE and each.kind != "text"
                           and each.text not in ("[", "]", ":")]
                if returns and returns[0] == "template":
                    returns = self._behind_template(returns)
                return "function", name, returns
            depth += token.text in ("(", "[", "{")
            depth -= token.text in (")", "]", "}")
        return "function", "operator" if any(t.text == "operator" for t in head) else "", ["auto"]

    @staticmethod
    def _behind_template(words):
        depth = 0
        for at, word in enumerate(words):
            depth += word.count("<") - word.count(">") if set(word) <= set("<>") else 0
            if at and depth == 0:
                return words[at + 1:]
        return words

    def statement_end(self, index):
        """Index of the ";" that ends the statement which begins at `index`, None when something else ends it."""
        at = index
        while at < len(self.tokens):
            text = self.tokens[at].text
            if text in OPENING and self.tokens[at].kind == "mark":
                at = self.partner.get(at, len(self.tokens)) + 1
                continue
            if text == ";":
                return at
            if text in (")", "]", "}"):
                return None
            at += 1
        return None

    def split(self, opening, separator):
        """The pieces between a bracket and its partner, parted by `separator`, as pairs of first and last index + 1."""
        closing = self.partner[opening]
        pieces, first, at = [], opening + 1, opening + 1
        while at < closing:
            text = self.tokens[at].text
            if text in OPENING and self.tokens[at].kind == "mark":
                at = self.partner[at] + 1
                continue
            if text == separator:
                pieces.append((first, at))
                first = at + 1
            at += 1
        pieces.append((first, closing))
        return pieces
