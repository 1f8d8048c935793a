# SPDX-License-Identifier: MIT
"""The changes that scripts/mutate.py makes to a source, one at a time.

It works on the words of the language, not on its grammar, and relies on the
formatter: a binary operator has blanks around it, a bracket of a template and
the & of a reference have not. What does not compile is sorted out later.
"""

import hashlib
import re

WORD = re.compile(r"""
    (?P<comment>//[^\n]*|/\*.*?\*/)
  | (?P<directive>^[ \t]*\#(?:\\\n|[^\n])*)
  | (?P<raw>R"\((?:.*?)\)")
  | (?P<text>"(?:\\.|[^"\\\n])*")
  | (?P<letter>'(?:\\.|[^'\\\n])+')
  | (?P<number>\d(?:[\w.]|'(?=\w)|(?<=[eE])[+-])*)
  | (?P<name>[A-Za-z_]\w*)
  | (?P<blank>\s+)
  | (?P<sign><<=|>>=|<<|>>|->|\+\+|--|&&|\|\||[-+*/%&|^=!<>]=|::|.)
""", re.X | re.S | re.M)

COMPARISONS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=",
               "!=": "=="}
ARITHMETIC = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "&": "|",
              "|": "&", "^": "|", "<<": ">>", ">>": "<<", "+=": "-=",
              "-=": "+=", "*=": "/=", "/=": "*=", "%=": "/=", "&=": "|=",
              "|=": "&=", "^=": "|=", "<<=": ">>=", ">>=": "<<="}
LOGIC = {"&&": "||", "||": "&&"}
STEPS = {"++": "--", "--": "++"}
BINARY = [("comparison", COMPARISONS), ("arithmetic", ARITHMETIC),
          ("logic", LOGIC)]
# Changes that are not told by what they replace.
WHOLE = {"condition": "negated", "return": "returns {}", "statement": "dropped"}

# What stands in front of the brace of a body, as opposed to that of a type or
# of a list of values.
BODY = {")", "]", "const", "noexcept", "override", "mutable", "else", "do",
        "try", ";", "{", "}", ":"}
# No statement that can be dropped begins with one of these.
NO_STATEMENT = set("""case catch class const constexpr default do else enum
    extern for friend goto if inline namespace private protected public return
    static static_assert struct switch template try typedef union using
    while""".split())


class Word:
    def __init__(self, kind, text, start):
        self.kind = kind
        self.text = text
        self.start = start
        self.end = start + len(text)


class Mutant:
    """One change of one file: what stands from `start` to `end` is replaced."""

    def __init__(self, file, kind, start, end, new):
        self.file = file
        self.kind = kind
        self.start = start
        self.end = end
        self.new = new

    def describe(self, source, seen):
        """Gives it a name that other changes of the file leave alone: the text
        of its line, the change, and a number where both occur again."""
        begin = source.rfind("\n", 0, self.start) + 1
        end = source.find("\n", self.start)
        self.line = source.count("\n", 0, self.start) + 1
        self.text = source[begin:end].strip()
        self.change = WHOLE.get(self.kind) or (
            f"{source[self.start:self.end]} -> {self.new or 'nothing'}")
        key = (self.text, self.change)
        seen[key] = seen.get(key, 0) + 1
        if seen[key] > 1:
            self.change += f" #{seen[key]}"
        self.id = digest(self.file, self.text, self.change)[:8]

    def key(self):
        return (self.file, self.text, self.change)

    def applied(self, source):
        return source[:self.start] + self.new + source[self.end:]


def digest(*parts):
    return hashlib.sha256("\0".join(parts).encode()).hexdigest()


def wordsOf(source):
    return [Word(match.lastgroup, match.group(), match.start())
            for match in WORD.finditer(source)]


def closing(words, at):
    """The place of what closes the bracket at the place `at`, or None."""
    depth = 0
    for i in range(at, len(words)):
        if words[i].text in "([{":
            depth += 1
        elif words[i].text in ")]}":
            depth -= 1
            if depth == 0:
                return i
    return None


def otherNumber(text):
    """The numbers that stand in for a literal."""
    match = re.fullmatch(r"(0[xX][\da-fA-F']+|[\d']+)([uUlL]*)", text)
    if not match:
        return [f"({text} + 1)"]  # a floating one
    digits, suffix = match[1].replace("'", ""), match[2]
    if digits.lower().startswith("0x"):
        value, form = int(digits, 16), "0x{:x}"
    else:
        value, form = int(digits, 8 if digits[0] == "0" else 10), "{}"
    others = [value + 1] + ([value - 1] if value > 0 else [])
    return [form.format(other) + suffix for other in others]


def otherText(text):
    """A text that differs in its first character."""
    first = re.match(r"\\(?:x[\da-fA-F]+|[0-7]{1,3}|.)|[^\\]", text[1:-1])
    other = "!" if first and first[0] == "~" else "~"
    return text[0] + other + text[1 + (first.end() if first else 0):]


class Finder:
    """Finds all mutants of one source."""

    def __init__(self, file, source):
        self.file = file
        self.source = source
        self.mutants = []
        # Neither comments nor blanks; what stood there is seen by the places.
        self.words = [word for word in wordsOf(source)
                      if word.kind not in ("comment", "directive", "blank")]
        self.skipped = self.findSkipped()

    def find(self):
        for at, word in enumerate(self.words):
            if at in self.skipped:
                continue
            if word.kind == "number":
                for other in otherNumber(word.text):
                    self.replace("constant", word, other)
            elif word.kind == "letter":
                self.replace("constant", word,
                             "'!'" if word.text == "'~'" else "'~'")
            elif word.kind == "text":
                self.replace("text", word, otherText(word.text))
            elif word.text in ("true", "false"):
                self.replace("constant", word,
                             "false" if word.text == "true" else "true")
            elif word.text in ("if", "while"):
                self.negate(at)
            elif word.text == "return":
                self.returnNothing(at)
            elif word.kind == "sign":
                self.changeSign(at)
        self.dropStatements()
        self.mutants.sort(key=lambda mutant: (mutant.start, mutant.new))
        seen = {}
        for mutant in self.mutants:
            mutant.describe(self.source, seen)
        return self.mutants

    def add(self, kind, start, end, new):
        self.mutants.append(Mutant(self.file, kind, start, end, new))

    def replace(self, kind, word, new):
        self.add(kind, word.start, word.end, new)

    def text(self, at):
        return self.words[at].text if 0 <= at < len(self.words) else ""

    def findSkipped(self):
        """Places in assertions of the compiler, attributes, names of languages
        and operators, and calls of reserve(), which are about speed alone."""
        skipped = set()
        for at, word in enumerate(self.words):
            end = None
            if word.text == "static_assert":
                end = closing(self.words, at + 1)
            elif word.text == "reserve":
                end = closing(self.words, at + 1)
            elif word.text == "[" and self.text(at + 1) == "[":
                end = closing(self.words, at)
            elif word.text == "extern" and self.words[at + 1].kind == "text":
                end = at + 1
            elif word.text == "operator":
                end = at + 1
            if end:
                skipped.update(range(at, end + 1))
        return skipped

    def isBinary(self, at):
        word = self.words[at]
        return (0 < at < len(self.words) - 1 and
                self.source[word.start - 1].isspace() and
                self.source[word.end].isspace())

    def isStream(self, at):
        """Whether << or >> is that of a stream: all but a shift by or of a
        number."""
        return not (self.words[at - 1].kind == "number" or
                    self.words[at + 1].kind == "number" or
                    self.text(at - 1) == "}")

    def joinsTexts(self, at):
        return "text" in (self.words[at - 1].kind, self.words[at + 1].kind)

    def changeSign(self, at):
        word = self.words[at]
        if word.text in STEPS:
            self.replace("arithmetic", word, STEPS[word.text])
        elif self.isBinary(at):
            if (word.text in ("<<", ">>") and self.isStream(at) or
                    word.text in ("+", "+=") and self.joinsTexts(at)):
                return
            for kind, table in BINARY:
                if word.text in table:
                    self.replace(kind, word, table[word.text])
        elif word.text == "!":
            self.replace("logic", word, "")
        elif word.text == "~" and not self.words[at + 1].text[0].isupper():
            self.replace("arithmetic", word, "")
        elif (word.text == "-" and self.source[word.end] != " " and
              self.text(at - 1) != ")"):
            self.replace("arithmetic", word, "")

    def negate(self, at):
        """Turns the condition of an if or while round."""
        if self.text(at + 1) != "(":
            return  # if constexpr
        end = closing(self.words, at + 1)
        condition = [word.text for word in self.words[at + 2:end]]
        if ";" in condition or condition[0] in ("const", "auto"):
            return  # a declaration
        if not {"&&", "||"} & set(condition) and (
                condition[0] == "!" or {"==", "!="} & set(condition)):
            return  # changing the operator does the same
        start = self.words[at + 1].end
        self.add("condition", start, self.words[end].start,
                 f"!({self.source[start:self.words[end].start]})")

    def returnNothing(self, at):
        """Returns what {} makes: 0, false, an empty text."""
        end = at + 1
        while self.text(end) != ";":
            if self.text(end) in ("(", "[", "{"):
                end = closing(self.words, end)
            end += 1
        start, stop = self.words[at].end + 1, self.words[end].start
        value = self.source[start:stop]
        if value in ("", "0", "false", "true", "{}", '""', "nullptr",
                     "std::nullopt", "os", "*this"):
            return
        self.add("return", start, stop, "{}")

    def dropStatements(self):
        bodies = []  # for each open bracket whether it is that of a body
        for at, word in enumerate(self.words):
            if word.text in ("(", "[", "{"):
                bodies.append(word.text == "{" and self.text(at - 1) in BODY)
            elif word.text in (")", "]", "}"):
                bodies.pop()
            if (bodies and bodies[-1] and at + 1 < len(self.words) and
                    (word.text in ("{", "}", ";") or self.endsLabel(at))):
                self.dropStatement(at + 1)

    def endsLabel(self, at):
        return self.text(at) == ":" and (
            self.text(at - 1) == "default" or
            "case" in [word.text for word in self.words[max(at - 4, 0):at]])

    def dropStatement(self, at):
        first = self.words[at]
        if first.text in NO_STATEMENT or (
                first.kind != "name" and
                first.text not in ("++", "--", "*", "::")):
            return
        end = at
        while end < len(self.words) and self.text(end) not in (";", "}", ":"):
            if self.text(end) in ("(", "[", "{"):
                end = closing(self.words, end)
            end += 1
        if self.text(end) != ";":
            return  # the end of a list, or a label
        if first.text not in ("throw", "delete", "break", "continue", "new"):
            statement = self.source[first.start:self.words[end].start]
            # A type, with its brackets, blanks, and a name: a declaration.
            if re.match(r"(?:::)?\w+(?:::\w+)*(?:<[^;=]*>)?(?:::\w+)*[*&]* +\w",
                        statement):
                return
        if at in self.skipped or any(
                place in self.skipped and self.text(place) == "reserve"
                for place in range(at, end)):
            return
        self.add("statement", first.start, self.words[end].start, "")


def mutantsOf(file, source):
    return Finder(file, source).find()
