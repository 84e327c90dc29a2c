"""Launch lists with random arguments, and which engine can pass which of them on.

All texts are bytes, because a launch list may hold any.
"""

import random

# What is special in one of the formats, or begins or ends something there.
SPECIALS = [
    b" ", b"\t", b"\n", b"\r", b"\r\n", b"\n\n", b"\n ", b" \n", b'"', b"'", b"\\", b"\\n", b"\\x41",
    b"$", b"$$", b"$(HOME)", b"$(A", b"$HOME", b"${HOME}", b"%", b"%%", b"%n", b"%(ENV_HOME)s",
    b"%(program_name)s", b";", b" ;", b"#", b" #", b"\n#", b"\n;", b"-", b"--", b"---", b"-->",
    b"<", b">", b"&", b"&amp;", b"&#13;", b"<![CDATA[", b"]]>", b"</string>", b"[program:x]",
    b"\n[program:x]\n", b"=", b":", b"@", b"+", b"!", b"*", b"?", b"~", b"|", b"{", b"}", b",", b"`",
    b"\x01", b"\x0b", b"\x0c", b"\x1b", b"\x1c", b"\x7f", b"\xff", b"\xc3", b"\xed\xa0\x80",
    "é".encode(), "$é".encode(), "\x85".encode(), "\xa0".encode(), "\xa0;".encode(),
    "\u2028".encode(), "\ufeff".encode(), "\ufffd".encode(), "\ufffe".encode(),
    "\uffff".encode(), "\U0001f600".encode(), "\U0010ffff".encode()]


def random_character(source):
    while True:
        code = source.randrange(1, source.choice([0x80, 0x800, 0x10000, 0x110000]))
        if not 0xD800 <= code < 0xE000:
            return chr(code).encode()


def random_text(source):
    """Returns a few bytes, or what is special, or characters, or a mixture; or nothing."""
    pieces = source.choice([
        [lambda: bytes([source.randrange(1, 256)])],
        [lambda: source.choice(SPECIALS)],
        [lambda: random_character(source)],
        [lambda: source.choice(SPECIALS), lambda: random_character(source), lambda: b"a"]])
    return b"".join(source.choice(pieces)() for _ in range(source.randrange(12)))


def random_texts(source, count, can_hold=lambda text: True):
    """Returns that many random texts that the condition is true of."""
    texts = []
    while len(texts) < count:
        text = random_text(source)
        if can_hold(text):
            texts.append(text)
    return texts


def is_text(text):
    try:
        text.decode()
    except UnicodeDecodeError:
        return False
    return True


def has_only_characters_of_xml(text):
    """As XML 1.0 defines Char."""
    return is_text(text) and all(
        character in "\t\n\r" or " " <= character <= "\ud7ff"
        or "\ue000" <= character <= "\ufffd" or character >= "\U00010000"
        for character in text.decode())


# What each engine can pass on as an argument.
CAN_HOLD = {
    "systemd": lambda text: True,
    "kube": is_text,
    "supervisord": lambda text: is_text(text) and b"\r" not in text,
    "launchd": has_only_characters_of_xml,
}


def to_json(text):
    """Returns a JSON string, in which bytes from 0x80 on stand as they are."""
    escaped = b"".join(b"\\u%04x" % byte if byte < 0x20 or byte in b'"\\' else bytes([byte])
                       for byte in text)
    return b'"' + escaped + b'"'


def write_list(file, items):
    """Writes a launch list of items, each a name and the arguments from the path on."""
    texts = []
    for number, (name, arguments) in enumerate(items):
        rest = b", ".join(b'"%d": %s' % (key, to_json(argument))
                          for key, argument in enumerate(arguments[1:]))
        texts.append(b'"%d": {"name": %s, "program": %s, "argc": %d, "args": {%s}}' % (
            number, to_json(name), to_json(arguments[0]), len(arguments) - 1, rest))
    file.write_bytes(b"{" + b",\n".join(texts) + b"}")
    return file


def new_source(seed=20261122):
    return random.Random(seed)
