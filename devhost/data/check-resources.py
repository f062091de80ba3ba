#!/usr/bin/env python3
"""Checks the translation table of the development host's resource loaders.

The table is UTF-8 text: a header line "key<TAB>en<TAB>cht", then one row per
simplified-Chinese text with its English and traditional-Chinese translations.
Cells are raw text (no quoting: a double quote is an ordinary character).

Checked:
  - the header, exactly three non-empty cells in every row, no CR, no BOM;
  - keys are unique and trimmed (the lookup trims a text before it asks);
  - every placeholder (%1, %2, ...) of a key stands in both translations as often
    as in the key, and the translations bring no placeholder of their own;
  - a key's mnemonic (&X) stands once in each translation with the same letter;
  - a traditional-Chinese cell holds no simplified-only character.
With --sources, every text that those C++ files look up through tr(u"..."),
trf(u"...") or trIn(u"...", ...) must be a key of the table.
With --addin DIR..., every text the add-in looks up must be a key: the C++ files
below those folders (tests left out) are read for the lookups (loadVtString,
loadVtString2, loadVtStringEx, formatResString, loadResFormat): a text given
directly, a constant of the same file (kName = u"..."), and, where a lookup takes
its text from a table or a variable, every Chinese text of that file (a line
marked "// not looked up" excepted). New windows are found without a list.

Usage: check-resources.py TABLE [--sources FILE...] [--addin DIR...]
Exit status 0 when the table passes, 1 with one line per problem otherwise.
"""

import os
import re
import sys
from collections import Counter

HEADER = ["key", "en", "cht"]

# Simplified forms that never appear in traditional-Chinese text (characters
# that are also valid traditional forms, such as 台, 后 or 于, are left out).
SIMPLIFIED_ONLY = set(
    "个为体关内务动发号启员图复审对将帮库开当录态户执择换据数无时显机权条来标栏毕没滤"
    "状电码确称简级组细经结统职联视览认设话该详语误请读财败账资载输过还进连选错长门间"
    "页项须预题这么从众优传儿刚删办区单压变围园团处备够头夺宁实宝尔层属岁币师带帐广庆"
    "应庙废异归彻总恋惊惯戏战扑扩扫扬扰抚报护担拟拥挂挡挤挥损掷揽搁搂携摄摆摇摊撑撵敌"
    "斋断旧晋晒晓晕暂术杀杂杨极构枪样桥检楼橱气汇汉汤沟沣泪泻泼洁浅浆测济浏浑浓涂涛涝"
    "润涨渊渐温湾湿满滚滞灭灯灵灾炉点炼烂烦烧热焕爱爷牍牵犹独狭献猎环现琐画畅痒盖盘睁"
    "砖础碍礼积稳穷窃窍竖笔笼筑类粮紧纠红纤约纪纯纲纳纵纸纷线练织终绍绕绘给络继绩续维"
    "综绿缓编缘缩网罗罚肃肠肤胜脉脏脑脚腊舰艺节苏荐荣药获萝虑虚虽蚀补装见观规觉触计订"
    "让议讯记讲许论访证评识诉词译试诗诚询说诸课谁调谈谋谓谢谱贝贞负贡责贤货质贩贪购贯"
    "贵贷费贺赋赔赖赛赞赠赶趋跃践车轨转轮软轻较辅辆辈辖边辽达迁运远违迟适递逻遗邮郑释"
    "针钟钢钱铁铃银铺链销锁锋键镇闪闭问闯闲闹闻阅阵阶阳阴陆陈陕随隐难雾静韩顶顺顾顿领"
    "频颜额风飞饭饮饰馆马驱驶验骑鱼鸟鸡麦黄齐齿龙"
)

PLACEHOLDER = re.compile(r"%(\d+)")
LOOKUP = re.compile(r'\b(?:tr|trf|trIn)\(\s*u"((?:[^"\\]|\\.)*)"')


def placeholders(text):
    return Counter(PLACEHOLDER.findall(text))


def mnemonics(text):
    """Letters marked with a single '&' ('&&' is a literal ampersand)."""
    out = []
    i = 0
    while i < len(text):
        if text[i] == "&":
            if i + 1 < len(text) and text[i + 1] == "&":
                i += 2
                continue
            if i + 1 < len(text):
                out.append(text[i + 1].upper())
        i += 1
    return out


def check_table(path):
    problems = []
    keys = {}
    try:
        raw = open(path, "rb").read()
    except OSError as e:
        return [f"{path}: cannot read: {e}"], keys
    if raw.startswith(b"\xef\xbb\xbf"):
        problems.append(f"{path}: starts with a byte-order mark")
        raw = raw[3:]
    try:
        text = raw.decode("utf-8")
    except UnicodeDecodeError as e:
        return [f"{path}: not UTF-8: {e}"], keys
    if "\r" in text:
        problems.append(f"{path}: holds carriage returns (lines must end with LF only)")
    if text and not text.endswith("\n"):
        problems.append(f"{path}: the last line has no line end")
    lines = text.split("\n")
    if lines and lines[-1] == "":
        lines.pop()
    if not lines or lines[0].split("\t") != HEADER:
        problems.append(f"{path}:1: header must be key<TAB>en<TAB>cht")
    for number, line in enumerate(lines[1:], start=2):
        where = f"{path}:{number}"
        cells = line.split("\t")
        if len(cells) != 3:
            problems.append(f"{where}: {len(cells)} cells instead of 3: {line!r}")
            continue
        key, en, cht = cells
        for name, cell in zip(HEADER, cells):
            if cell.strip() == "":
                problems.append(f"{where}: empty {name} cell")
        if key != key.strip(" "):
            problems.append(f"{where}: key {key!r} has leading or trailing blanks (lookups trim the text)")
        if key in keys:
            problems.append(f"{where}: duplicate key {key!r} (first on line {keys[key]})")
        else:
            keys[key] = number
        wanted = placeholders(key)
        for name, cell in (("en", en), ("cht", cht)):
            got = placeholders(cell)
            if got != wanted:
                problems.append(
                    f"{where}: {name} placeholders {dict(got) or '{}'} differ from the key's {dict(wanted) or '{}'}"
                )
            if mnemonics(cell) != mnemonics(key):
                problems.append(
                    f"{where}: {name} mnemonic {mnemonics(cell) or 'none'} differs from the key's {mnemonics(key) or 'none'}"
                )
        bad = sorted(set(ch for ch in cht if ch in SIMPLIFIED_ONLY))
        if bad:
            problems.append(f"{where}: cht cell {cht!r} holds simplified characters {''.join(bad)}")
    return problems, keys


def check_sources(sources, keys):
    problems = []
    for path in sources:
        try:
            text = open(path, encoding="utf-8").read()
        except OSError as e:
            problems.append(f"{path}: cannot read: {e}")
            continue
        for m in LOOKUP.finditer(text):
            key = m.group(1).encode("utf-8").decode("unicode_escape").encode("latin-1").decode("utf-8")
            if key.strip(" ") not in keys:
                line = text.count("\n", 0, m.start()) + 1
                problems.append(f"{path}:{line}: text {key!r} is looked up but missing from the table")
    return problems


ADDIN_LOOKUP = re.compile(r"\b(?:loadVtString2?|loadVtStringEx|formatResString|loadResFormat)\(\s*")
LITERAL = re.compile(r'u"((?:[^"\\]|\\.)*)"')
CONSTANT = re.compile(r'\b(k[A-Z]\w*)(?:\[\])?\s*=\s*u"((?:[^"\\]|\\.)*)"')
CJK = re.compile(r"[\u3400-\u9fff\uff00-\uffef]")


def unescape(text):
    return text.encode("utf-8").decode("unicode_escape").encode("latin-1").decode("utf-8")


def addin_texts(path, text):
    """(line, text) of every text the file looks up."""
    found = []
    constants = {m.group(1): m.group(2) for m in CONSTANT.finditer(text)}
    indirect = False
    for m in ADDIN_LOOKUP.finditer(text):
        rest = text[m.end():]
        line = text.count("\n", 0, m.start()) + 1
        lit = re.match(r'u"((?:[^"\\]|\\.)*)"', rest)
        ident = re.match(r"(k[A-Z]\w*)\s*[,)]", rest)
        if lit:
            found.append((line, unescape(lit.group(1))))
        elif ident and ident.group(1) in constants:
            found.append((line, unescape(constants[ident.group(1)])))
        elif re.match(r"(?:text|word|format|title|piece)\b", rest):
            continue  # the lookup functions themselves, passing their argument on
        else:
            indirect = True
    if indirect:
        for number, source_line in enumerate(text.split("\n"), start=1):
            if "// not looked up" in source_line or source_line.lstrip().startswith("//"):
                continue
            for lit in LITERAL.finditer(source_line):
                value = unescape(lit.group(1))
                if CJK.search(value):
                    found.append((number, value))
    return found


def check_addin(folders, keys):
    problems, files = [], 0
    for folder in folders:
        for base, dirs, names in os.walk(folder):
            dirs[:] = [d for d in dirs if d != "tests"]
            for name in sorted(names):
                if not name.endswith((".cpp", ".h")):
                    continue
                path = os.path.join(base, name)
                text = open(path, encoding="utf-8").read()
                texts = sorted(set(addin_texts(path, text)))
                files += 1 if texts else 0
                for line, key in texts:
                    if key.strip(" ") not in keys:
                        problems.append(f"{path}:{line}: the add-in looks up {key!r}, which the table lacks")
    return problems, files


def main(argv):
    if len(argv) < 2 or argv[1].startswith("-"):
        print(__doc__.strip().split("\n\n")[-2], file=sys.stderr)
        return 2
    table = argv[1]
    sources, addin, current = [], [], None
    for a in argv[2:]:
        if a in ("--sources", "--addin"):
            current = sources if a == "--sources" else addin
        elif current is None:
            print(f"unknown option {a!r}", file=sys.stderr)
            return 2
        else:
            current.append(a)
    problems, keys = check_table(table)
    problems += check_sources(sources, keys)
    addin_problems, addin_files = check_addin(addin, keys)
    problems += addin_problems
    for p in problems:
        print(p)
    if problems:
        print(f"{table}: {len(problems)} problem(s)")
        return 1
    print(f"{table}: {len(keys)} rows OK" + (f", {len(sources)} source file(s) OK" if sources else "")
          + (f", the add-in's lookups in {addin_files} file(s) OK" if addin else ""))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
