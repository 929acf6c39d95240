"""Changes that can be made to a C++ source, for scripts/mutants: one token, condition, call or statement at a time."""

import bisect
import dataclasses
import re

TOKEN = re.compile(
    r"""(?P<skip>\s+|//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:\\\n|[^\n])*)
    |(?P<raw>R"(?P<mark>[^(]*)\(.*?\)(?P=mark)")
    |(?P<string>"(?:\\.|[^"\\\n])*")
    |(?P<char>'(?:\\.|[^'\\\n])+')
    |(?P<number>\b\d[\w.']*)
    |(?P<word>\w+)
    |(?P<sign><=>|<<=|>>=|->\*|\.\.\.|::|->|\+\+|--|<<|>>|[-+*/%&|^<>=!]=|&&|\|\||.)""",
    re.DOTALL | re.MULTILINE | re.VERBOSE)
SWAPPED = {"&&": "||", "||": "&&", "==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "+": "-",
           "-": "+", "+=": "-=", "-=": "+=", "++": "--", "--": "++", "true": "false", "false": "true"}
SPACED = ("<", ">", "+", "-", "&&")  # elsewhere they are no binary operators
BLOCK_WORDS = ("if", "for", "while", "do", "switch", "else", "try", "catch")
NOT_DROPPED = (*BLOCK_WORDS, "return", "using", "typedef", "struct", "class", "enum", "union", "static_assert",
               "constexpr", "template", "friend", "goto")
CLOSING = {"(": ")", "[": "]", "{": "}"}


@dataclasses.dataclass(frozen=True)
class Mutant:
    file: str  # from the project's root
    line: int
    start: int  # what is replaced, as places in the file's text
    end: int
    new: str
    what: str

    def apply(self, text):
        """The changed text; every line keeps its number, which the debug log shows."""
        old = text[self.start : self.end]
        return text[: self.start] + self.new + "\n" * (old.count("\n") - self.new.count("\n")) + text[self.end :]

    def difference(self, text):
        """The lines before and after."""
        first = text.rfind("\n", 0, self.start) + 1
        last = text.find("\n", self.end)
        after = self.apply(text)
        new_last = last + len(after) - len(text)
        yield from ("    - " + line for line in text[first:last].splitlines())
        yield from ("    + " + line for line in after[first:new_last].splitlines() if line.strip())


class Source:
    """The tokens of a source file, and the changes that can be made to it."""

    def __init__(self, name, text):
        self.name = name
        self.text = text
        self.line_ends = [place for place, sign in enumerate(self.text) if sign == "\n"]
        self.tokens = [match for match in TOKEN.finditer(self.text) if match.lastgroup != "skip"]
        self.words = [match.group() for match in self.tokens]
        self.partner = self._partners()

    def _partners(self):
        """For each opening bracket its closing one, and the other way round, by index."""
        found, stack = {}, []
        for index, word in enumerate(self.words):
            if word in CLOSING:
                stack.append(index)
            elif stack and word == CLOSING[self.words[stack[-1]]]:
                found[index] = stack.pop()
                found[found[index]] = index
        return found

    def mutants(self):
        for index, word in enumerate(self.words):
            yield from self._of_token(index, word)
            if word in ("if", "while") and index + 1 in self.partner:
                yield from self._negated(index + 1)
            if word == "(" and index in self.partner and self.words[index - 1] not in BLOCK_WORDS:
                yield from self._swapped_arguments(index)
            if word == "{" and self._is_code(index):
                yield from self._dropped_statements(index)

    def _mutant(self, first, last, new, what):
        """Replaces the tokens from first to last."""
        start, end = self.tokens[first].start(), self.tokens[last].end()
        return Mutant(self.name, bisect.bisect_left(self.line_ends, start) + 1, start, end, new, what)

    def _of_token(self, index, word):
        token = self.tokens[index]
        is_spaced = self.text[token.start() - 1] in " \n" and self.text[token.end() : token.end() + 1] in " \n"
        before = self.words[index - 1] if index else ""
        if word in SWAPPED and (is_spaced or word not in SPACED):
            yield self._mutant(index, index, SWAPPED[word], "another operator or constant")
        elif word == "!":
            yield self._mutant(index, index, "", "not negated")
        elif word == "?":
            yield self._mutant(index, index, "&& false ?", "always the second choice")
            yield self._mutant(index, index, "|| true ?", "always the first choice")
        elif word == "return" and self.words[index + 1] != ";":
            last = self._end_of_statement(index) - 1
            if self.words[index + 1 : last + 1] != ["{", "}"]:
                yield self._mutant(index, last, "return {}", "returns a default value")
        elif token.lastgroup == "number" and re.fullmatch(r"[\d']+|0[xX][\dA-Fa-f']+", word.rstrip("uUlLz")):
            digits = word.rstrip("uUlLz").replace("'", "")
            value = int(digits, 8) if re.fullmatch(r"0\d+", digits) else int(digits, 0)
            yield self._mutant(index, index, str(value + 1), "a number plus one")
        elif token.lastgroup in ("string", "raw") and before not in ("extern", "operator"):
            yield self._changed_text(index, word)

    def _changed_text(self, index, word):
        first, last = word.index('"') + 1, len(word) - 1
        letters = [place for place in range(first, last) if word[place].isalnum() and word[place - 1] not in "\\%"]
        place = letters[len(letters) // 2] if letters else last
        changed = "y" if word[place] == "x" else "x"
        return self._mutant(index, index, word[:place] + changed + word[place + bool(letters) :], "another text")

    def _negated(self, opening):
        closing = self.partner[opening]
        first = max([index for index in range(opening, closing) if self.words[index] == ";"] or [opening]) + 1
        condition = self.text[self.tokens[first].start() : self.tokens[closing].start()]
        yield self._mutant(first, closing - 1, f"!({condition})", "a condition negated")

    def _swapped_arguments(self, opening):
        closing, commas, index = self.partner[opening], [], opening + 1
        while index < closing:
            if self.words[index] == ",":
                commas.append(index)
            index = self.partner.get(index, index) + 1
        if len(commas) == 1 and self.words[closing - 1] != ",":
            comma = commas[0]
            first = self.text[self.tokens[opening + 1].start() : self.tokens[comma].start()]
            second = self.text[self.tokens[comma + 1].start() : self.tokens[closing].start()]
            if first != second:
                yield self._mutant(opening + 1, closing - 1, f"{second}, {first}", "arguments swapped")

    def _is_code(self, opening):
        """Whether a brace opens a block or a function's body, and no initialiser, class or namespace."""
        before = self.words[opening - 1]
        if before in (")", "]", "else", "do", "try", "const", "noexcept", "override", "mutable", ":", ";"):
            return opening in self.partner
        start = opening - 1
        while start >= 0 and self.words[start] not in (";", "{", "}", ")"):
            start -= 1
        return opening in self.partner and "->" in self.words[start + 1 : opening] and self.words[start] == ")"

    def _end_of_statement(self, index):
        while self.words[index] != ";":
            index = self.partner.get(index, index) + 1
        return index

    def _dropped_statements(self, opening):
        index = opening + 1
        while index < self.partner[opening]:
            start = index
            if self.words[index] in ("case", "default"):
                index = self.words.index(":", index) + 1
            elif self.words[index] in ("{", *BLOCK_WORDS):
                while self.words[index] not in ("{", ";"):
                    index = self.partner[index] + 1 if self.words[index] in "([" else index + 1
                index = self.partner.get(index, index) + 1
            else:
                while index < self.partner[opening] and self.words[index] != ";":
                    index = max(self.partner.get(index, index), index) + 1
                if self.words[index] == ";" and index > start and self.words[start] not in NOT_DROPPED:
                    yield self._mutant(start, index - 1, "", "a statement dropped")
                index += 1
