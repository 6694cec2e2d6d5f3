#!/usr/bin/python3
"""Writes the small schedule workbooks the import tests read, each as .xls, .xlsx and .ods, and
slow.xlsx, a small file that takes the reader a second or two.

    /usr/bin/python3 tests/data/workbooks/make_samples.py [STEM...]   (the .xls files need
    python3-xlwt; with stems, only those samples are written)

A cell is None (empty), a str, a list of str (a rich text of runs) or a number; a sheet is
(name, rows). OPEN_XML_ONLY holds the samples of what only an .xlsx can be: strings written in
the cell instead of a shared table, and a package whose relationships name parts from its
root."""
import os
import zipfile
from xml.sax.saxutils import escape

HERE = os.path.dirname(os.path.abspath(__file__))

GOOD = [
    ["1", "Earth work in excavation", "Cum", 120.5, 0, "Excavation"],
    [],                                                   # spacer row
    [None, "P1"],                                         # page mark
    [None, "Brick work in cement mortar", "Cum", 300, 1, "Walls, as spelt elsewhere"],
    ["3", "Plastering", "Sqm", 45, None, "excavation "],  # empty E: a deduction
    ["4", None, "Sqm", 1, 0, "Excavation"],               # number without description
    ["5", "Painting", " ", 2, 0, "Excavation"],           # one blank: not added
    [7, "Flooring", "Sqm", "12.75", "0", "Excavation"],   # a numbered cell and text figures
]
SAMPLES = {
    "good": [("Sheet1", GOOD)],
    "empty": [("Sheet1", [])],
    "few_columns": [("Sheet1", [["1", "Earth work", "Cum", 10]])],
    "null_value": [("Sheet1", [["1", "Earth work", "Cum", 10, 0, "Excavation"],
                               ["2", "Brick work", None, 20, 0, "Excavation"],
                               ["3", "Plastering", "Sqm", 30, 0, "Excavation"]])],
    "wrong_data": [("Sheet1", [["1", "Earth work", "Cum", 10, 0, "Excavation"],
                               ["2", "Brick work", "Cum", "ten", 0, "Excavation"]])],
    "no_sheet1": [("Schedule", [["1", "Earth work", "Cum", 10, 0, "Excavation"]])],
}
# The rows of GOOD with rich texts: runs of one text, with a phonetic reading that is no part of it.
GOOD_RICH = [[["Earth work ", "in excavation"] if v == "Earth work in excavation" else v
              for v in row] for row in GOOD]
# stem: (sheets, options of write_xlsx)
OPEN_XML_ONLY = {
    "inline_absolute": ([("Sheet1", GOOD_RICH)], {"inline": True, "absolute": True}),
    # The workbook lists Sheet1, but the package does not hold the part it names.
    "sheet1_missing": ([("Sheet1", GOOD)], {"absolute": True, "drop_sheets": True}),
}


def col(c):
    return "ABCDEFGHIJ"[c]


def string_item(v):
    """The runs of a text as a string item holds them."""
    if isinstance(v, str):
        return '<t xml:space="preserve">%s</t>' % escape(v)
    return "".join('<r><rPr><b/></rPr><t xml:space="preserve">%s</t></r>' % escape(run)
                   for run in v) + '<rPh sb="0" eb="1"><t>yomi</t></rPh>'


def write_xlsx(path, sheets, inline=False, absolute=False, drop_sheets=False):
    """inline: texts in their cells, not in the shared table; absolute: every relationship names
    its part from the package's root; drop_sheets: the worksheets are left out of the package."""
    strings, index = [], {}

    def sid(s):
        key = repr(s)
        if key not in index:
            index[key] = len(strings)
            strings.append(s)
        return index[key]

    sheet_xml = []
    for _, rows in sheets:
        out = []
        for r, row in enumerate(rows):
            cells = []
            for c, v in enumerate(row):
                ref = "%s%d" % (col(c), r + 1)
                if v is None:
                    continue
                if isinstance(v, (str, list)) and inline:
                    cells.append('<c r="%s" t="inlineStr"><is>%s</is></c>' % (ref, string_item(v)))
                elif isinstance(v, (str, list)):
                    cells.append('<c r="%s" t="s"><v>%d</v></c>' % (ref, sid(v)))
                else:
                    cells.append('<c r="%s"><v>%r</v></c>' % (ref, v))
            if cells:
                out.append('<row r="%d">%s</row>' % (r + 1, "".join(cells)))
        sheet_xml.append(
            '<?xml version="1.0" encoding="UTF-8"?><worksheet xmlns="http://schemas.openxmlformats.org/'
            'spreadsheetml/2006/main"><sheetData>%s</sheetData></worksheet>' % "".join(out))
    main = "http://schemas.openxmlformats.org/spreadsheetml/2006/main"
    rel = "http://schemas.openxmlformats.org/officeDocument/2006/relationships"
    pkg = "http://schemas.openxmlformats.org/package/2006/relationships"
    root = "/xl/" if absolute else ""
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as z:
        z.writestr("[Content_Types].xml",
                   '<?xml version="1.0" encoding="UTF-8"?><Types xmlns="http://schemas.openxmlformats.org/'
                   'package/2006/content-types"><Default Extension="rels" ContentType="application/'
                   'vnd.openxmlformats-package.relationships+xml"/><Default Extension="xml" '
                   'ContentType="application/xml"/><Override PartName="/xl/workbook.xml" ContentType='
                   '"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml"/>' +
                   "".join('<Override PartName="/xl/worksheets/sheet%d.xml" ContentType="application/'
                           'vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml"/>' % (i + 1)
                           for i in range(len(sheets))) +
                   '<Override PartName="/xl/sharedStrings.xml" ContentType="application/vnd.'
                   'openxmlformats-officedocument.spreadsheetml.sharedStrings+xml"/></Types>')
        z.writestr("_rels/.rels",
                   '<?xml version="1.0" encoding="UTF-8"?><Relationships xmlns="%s"><Relationship Id="rId1" '
                   'Type="%s/officeDocument" Target="%sxl/workbook.xml"/></Relationships>'
                   % (pkg, rel, "/" if absolute else ""))
        z.writestr("xl/workbook.xml",
                   '<?xml version="1.0" encoding="UTF-8"?><workbook xmlns="%s" xmlns:r="%s"><sheets>%s'
                   '</sheets></workbook>' % (main, rel, "".join(
                       '<sheet name="%s" sheetId="%d" r:id="rId%d"/>' % (escape(n), i + 1, i + 1)
                       for i, (n, _) in enumerate(sheets))))
        z.writestr("xl/_rels/workbook.xml.rels",
                   '<?xml version="1.0" encoding="UTF-8"?><Relationships xmlns="%s">%s<Relationship '
                   'Id="rIdS" Type="%s/sharedStrings" Target="%ssharedStrings.xml"/></Relationships>' %
                   (pkg, "".join('<Relationship Id="rId%d" Type="%s/worksheet" Target="%sworksheets/'
                                 'sheet%d.xml"/>' % (i + 1, rel, root, i + 1) for i in range(len(sheets))),
                    rel, root))
        for i, x in enumerate(sheet_xml):
            if not drop_sheets:
                z.writestr("xl/worksheets/sheet%d.xml" % (i + 1), x)
        z.writestr("xl/sharedStrings.xml",
                   '<?xml version="1.0" encoding="UTF-8"?><sst xmlns="%s" count="%d" uniqueCount="%d">%s</sst>'
                   % (main, len(strings), len(strings),
                      "".join('<si>%s</si>' % string_item(s) for s in strings)))


def write_ods(path, sheets):
    tables = []
    for name, rows in sheets:
        out = []
        for row in rows:
            cells = []
            for v in row:
                if v is None:
                    cells.append("<table:table-cell/>")
                elif isinstance(v, str):
                    cells.append('<table:table-cell office:value-type="string"><text:p>%s</text:p>'
                                 '</table:table-cell>' % escape(v))
                else:
                    cells.append('<table:table-cell office:value-type="float" office:value="%r">'
                                 '<text:p>%r</text:p></table:table-cell>' % (v, v))
            out.append("<table:table-row>%s</table:table-row>" % "".join(cells))
        tables.append('<table:table table:name="%s">%s</table:table>' % (escape(name), "".join(out)))
    content = ('<?xml version="1.0" encoding="UTF-8"?><office:document-content '
               'xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0" '
               'xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0" '
               'xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" office:version="1.2">'
               '<office:body><office:spreadsheet>%s</office:spreadsheet></office:body>'
               '</office:document-content>' % "".join(tables))
    with zipfile.ZipFile(path, "w") as z:
        z.writestr(zipfile.ZipInfo("mimetype"), "application/vnd.oasis.opendocument.spreadsheet")
        z.writestr("META-INF/manifest.xml",
                   '<?xml version="1.0" encoding="UTF-8"?><manifest:manifest xmlns:manifest="urn:oasis:'
                   'names:tc:opendocument:xmlns:manifest:1.0" manifest:version="1.2"><manifest:file-entry '
                   'manifest:full-path="/" manifest:media-type="application/vnd.oasis.opendocument.'
                   'spreadsheet"/><manifest:file-entry manifest:full-path="content.xml" '
                   'manifest:media-type="text/xml"/></manifest:manifest>')
        z.writestr("content.xml", content, zipfile.ZIP_DEFLATED)


def write_xls(path, sheets):
    import xlwt
    book = xlwt.Workbook()
    for name, rows in sheets:
        sheet = book.add_sheet(name)
        for r, row in enumerate(rows):
            for c, v in enumerate(row):
                if v is not None:
                    sheet.write(r, c, v)
    book.save(path)


def write_slow(path, cells=1500000):
    """Sheet1 holds one schedule row, then `cells` numbers in column AZ, beyond the columns read:
    the reader goes through each of them, and the file stays small."""
    main = "http://schemas.openxmlformats.org/spreadsheetml/2006/main"
    rel = "http://schemas.openxmlformats.org/officeDocument/2006/relationships"
    pkg = "http://schemas.openxmlformats.org/package/2006/relationships"
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as z:
        z.writestr("[Content_Types].xml", '<Types xmlns="http://schemas.openxmlformats.org/'
                   'package/2006/content-types"/>')
        z.writestr("_rels/.rels", '<Relationships xmlns="%s"><Relationship Id="rId1" Type="%s/'
                   'officeDocument" Target="xl/workbook.xml"/></Relationships>' % (pkg, rel))
        z.writestr("xl/workbook.xml", '<workbook xmlns="%s" xmlns:r="%s"><sheets><sheet name='
                   '"Sheet1" sheetId="1" r:id="rId1"/></sheets></workbook>' % (main, rel))
        z.writestr("xl/_rels/workbook.xml.rels", '<Relationships xmlns="%s"><Relationship Id='
                   '"rId1" Type="%s/worksheet" Target="worksheets/sheet1.xml"/></Relationships>'
                   % (pkg, rel))
        with z.open("xl/worksheets/sheet1.xml", "w") as f:
            f.write(('<worksheet xmlns="%s"><sheetData><row r="1">' % main).encode())
            row = ["9", "Slow work", "Cum", 15, 0, "Excavation"]
            f.write("".join('<c r="%s1" t="inlineStr"><is><t>%s</t></is></c>' % (col(c), v)
                            if isinstance(v, str) else '<c r="%s1"><v>%s</v></c>' % (col(c), v)
                            for c, v in enumerate(row)).encode())
            chunk = ('<c r="AZ1"><v>1</v></c>' * 10000).encode()
            for _ in range(cells // 10000):
                f.write(chunk)
            f.write(b"</row></sheetData></worksheet>")


if __name__ == "__main__":
    import sys
    wanted = set(sys.argv[1:])
    for stem, sheets in SAMPLES.items():
        if wanted and stem not in wanted:
            continue
        write_xlsx(os.path.join(HERE, stem + ".xlsx"), sheets)
        write_ods(os.path.join(HERE, stem + ".ods"), sheets)
        write_xls(os.path.join(HERE, stem + ".xls"), sheets)
    for stem, (sheets, options) in OPEN_XML_ONLY.items():
        if not wanted or stem in wanted:
            write_xlsx(os.path.join(HERE, stem + ".xlsx"), sheets, **options)
    if not wanted or "slow" in wanted:
        write_slow(os.path.join(HERE, "slow.xlsx"))
