"""The installed package and the archives: everything that is needed, nothing else, and no path of the build machine."""

import hashlib
import html.parser
import pathlib
import re
import struct
import sys
import tempfile
import unittest
import zlib

import place
from kvtest.product import RESULT_NAMES

HEADERS = """
    analytics_reporting/AnalyticsEngine.h analytics_reporting/ProgramLogModule.h
    device_manager/Device.h device_manager/DeviceKinds.h
    ga_client/ClientInfo.h ga_client/CustomFacts.h ga_client/EventFields.h ga_client/GAClient.h
    logging/LastErrorRestore.h logging/line/ErrorTextFormatter.h logging/line/FormatCheck.h logging/LineSink.h
    logging/LogFlags.h logging/LogFunction.h logging/LogModule.h logging/LogSourceFile.h logging/MonitorInterface.h
    logging/system/CriticalSection.h logging/Trace.h logging/TraceScope.h
    utils/base/AccessViolation.h utils/base/AsciiCase.h utils/CommandLine.h utils/FileUtils.h utils/base/FileVersionInfo.h utils/IniFile.h
    utils/OSVersion.h utils/PathUtils.h utils/StringUtils.h utils/base/StructuredExceptionScope.h utils/SxSConfig.h
    utils/base/Win32Exception.h
    winapi/ComApi.h winapi/IPHelperApi.h winapi/KernelApi.h winapi/RegistryApi.h winapi/SetupApi.h winapi/ShellApi.h
    winapi/SpoolerApi.h winapi/base/SystemLibraries.h winapi/base/SystemLibrary.h winapi/ToolHlpApi.h winapi/UserApi.h
    winapi/WinApi.h winapi/WinSockApi.h
    """.split()
LIBRARIES = ["analytics_reporting", "device_manager", "ga_client", "logging", "utils", "utils_base", "winapi", "winapi_base"]
DEVELOPMENT = sorted(
    [f"include/{header}" for header in HEADERS] + [f"lib/libkv_{library}.a" for library in LIBRARIES] +
    [f"lib/pkgconfig/kv_{library}.pc" for library in LIBRARIES] + [
        "lib/cmake/KVAnalytics/KVAnalyticsConfig.cmake",
        "lib/cmake/KVAnalytics/KVAnalyticsConfigVersion.cmake",
        "lib/cmake/KVAnalytics/KVAnalyticsTargets-release.cmake",
        "lib/cmake/KVAnalytics/KVAnalyticsTargets.cmake",
        "share/KVAnalytics/KVAnalytics.spdx.json",
        "share/KVAnalytics/THIRD-PARTY-NOTICES.txt",
        "share/KVAnalytics/docs/events.md",
        "share/KVAnalytics/docs/libraries/analytics-reporting.md",
        "share/KVAnalytics/docs/libraries/device-manager.md",
        "share/KVAnalytics/docs/libraries/ga-client.md",
        "share/KVAnalytics/docs/libraries/logging.md",
        "share/KVAnalytics/docs/libraries/utils.md",
        "share/KVAnalytics/docs/libraries/winapi.md",
        "share/KVAnalytics/docs/logging.md",
        "share/KVAnalytics/docs/measurement-protocol.md",
        "share/KVAnalytics/docs/printer-inventory.md",
        "share/KVAnalytics/docs/request-queue.md",
        "share/KVAnalytics/docs/using-the-libraries.md",
        "share/KVAnalytics/docs/viewer.md",
        "share/KVAnalytics/examples/CMakeLists.txt",
        "share/KVAnalytics/examples/client_alone.cpp",
        "share/KVAnalytics/examples/mingw-w64.cmake",
        "share/KVAnalytics/examples/track_everything.cpp",
        "share/KVAnalytics/examples/track_everything.rc",
        "share/KVAnalytics/viewer/NOTICE.txt",
        "share/KVAnalytics/viewer/collect",
        "share/KVAnalytics/viewer/index.html",
    ])
PROGRAM = [
    "KVAnalyticsProxy.spdx.json",
    "THIRD-PARTY-NOTICES.txt",
    "bin/KVAnalyticsDoctor.exe",
    "bin/KVAnalyticsProxy.exe",
    "config.sample.ini",
    "docs/command-line.html",
    "docs/configuration.html",
    "docs/doctor.html",
    "docs/events.html",
    "docs/index.html",
    "docs/logging-off.reg",
    "docs/logging-on-brief.reg",
    "docs/logging-on.reg",
    "docs/logging.html",
    "docs/measurement-protocol.html",
    "docs/pages.css",
    "docs/printer-inventory.html",
    "docs/privacy.html",
    "docs/request-queue.html",
    "docs/security.html",
    "docs/start-by-hand.hta",
    "docs/troubleshooting.html",
    "docs/viewer.html",
    "readme.txt",
    "viewer/NOTICE.txt",
    "viewer/collect",
    "viewer/index.html",
]
PAGES = [name for name in PROGRAM if name.startswith("docs/") and name.endswith(".html")]
TEXTS = ["config.sample.ini", "docs/logging-off.reg", "docs/logging-on-brief.reg", "docs/logging-on.reg",
         "docs/start-by-hand.hta", "readme.txt"]
# What a reader of the pages has not got, and what only a maintainer knows.
OF_THE_SOURCES = re.compile(r"\b\w+Tests\b|\btest_\w|\.md\b|CONTRIBUTING|CHANGELOG|\w\.h\b|CMake|\bscripts/|\btests/|"
                            r"packaging/|\bKV_[A-Z]|raw HTML|[Ee]mulator|\b[Ww]ine\b|\bGitHub\b|\bgit\b|this repository|<!--")
NOTICES = "THIRD-PARTY-NOTICES.txt"
PREFIX = "x86_64-w64-mingw32-"


def files_of(folder):
    return sorted(path.relative_to(folder).as_posix() for path in folder.rglob("*") if path.is_file())


def paths_in(file, texts):
    """Those of the texts that the file holds."""
    content = file.read_bytes()
    return [text for text in texts if text.encode("utf-8") in content or text.encode("utf-16-le") in content]


class InstalledPackageTests(unittest.TestCase):
    maxDiff = None

    def test_holds_what_another_program_needs(self):
        self.assertEqual(files_of(place.package()), DEVELOPMENT)

    def test_names_no_path_of_this_machine(self):
        first = str(place.folder() / place.FIRST)
        for name in files_of(place.package()):
            found = paths_in(place.package() / name, [str(place.SOURCE), str(place.BUILD), str(place.folder()), first,
                                                      "/usr/", "/home/", "/root/", "/tmp/", "/build/"])
            # The guide names the path of a build tree below the source tree, the notices name licences by Debian's paths.
            if name.endswith(("using-the-libraries.md", NOTICES)):
                found = [text for text in found if text not in ("/build/", "/usr/")]
            self.assertEqual(found, [], name)

    def test_includes_of_headers_are_installed(self):
        include = place.package() / "include"
        for header in HEADERS:
            for included in re.findall(r'#include "([^"]+)"', (include / header).read_text(encoding="utf-8")):
                self.assertIn(included, HEADERS, header)

    def test_targets_hand_on_what_a_program_needs_and_not_how_this_tree_is_built(self):
        folder = place.package() / "lib" / "cmake" / "KVAnalytics"
        text = "".join(path.read_text(encoding="utf-8") for path in sorted(folder.iterdir()))
        self.assertEqual(sorted(re.findall(r"^add_library\((\S+) STATIC IMPORTED\)$", text, re.MULTILINE)),
                         [f"KV::{library}" for library in LIBRARIES])
        properties = re.findall(r'^  (INTERFACE_\w+) "(.*)"$', text, re.MULTILINE)
        values = {name: {value for key, value in properties if key == name} for name, _ in properties}
        links = {link for value in values.pop("INTERFACE_LINK_LIBRARIES") for link in value.split(";")}
        self.assertEqual(values, {"INTERFACE_COMPILE_DEFINITIONS": {"PSAPI_VERSION=1"},
                                  "INTERFACE_COMPILE_FEATURES": {"cxx_std_20"},
                                  "INTERFACE_LINK_OPTIONS": {"-fstack-protector-strong"}})
        for link in links: # system libraries go by their names
            self.assertRegex(link, r"^(KV::)?[a-z0-9_]+$")
        self.assertEqual({link for link in links if link.startswith(("KV::", "kv_"))},
                         {f"KV::{library}" for library in LIBRARIES} - {"KV::analytics_reporting"})

    def test_libraries_hold_no_debug_information(self):
        for library in LIBRARIES:
            sections = place.run(f"{PREFIX}objdump", "-h", place.package() / "lib" / f"libkv_{library}.a")
            self.assertIn(" .text", sections)
            self.assertNotIn(" .debug_", sections, library)

    def test_libraries_leave_the_stack_guard_to_the_program(self):
        for library in LIBRARIES:
            symbols = place.run(f"{PREFIX}nm", "--defined-only", place.package() / "lib" / f"libkv_{library}.a")
            self.assertIn(" T ", symbols)
            self.assertNotRegex(symbols, r" (__stack_chk_(guard|fail)|__chk_fail)\n", library)


def headings(page):
    """The link names of the headings of a page."""
    texts = re.findall(r"^#+ (.*)$", page.read_text(encoding="utf-8"), re.MULTILINE)
    return {re.sub(r"[^\w -]", "", text.lower()).replace(" ", "-") for text in texts}


class ArchiveTests(unittest.TestCase):
    maxDiff = None

    def test_development_archive_is_the_installed_package(self):
        def digests(folder):
            return {name: hashlib.sha256((folder / name).read_bytes()).hexdigest() for name in files_of(folder)}

        self.assertEqual(digests(place.archive("development")), digests(place.package()))

    def test_program_archive_holds_what_is_needed_to_install_it(self):
        self.assertEqual(files_of(place.archive("program")), PROGRAM)

    def test_program_archive_names_no_path_of_this_machine(self):
        for name in PROGRAM:
            texts = [str(place.SOURCE), str(place.BUILD), str(place.folder()), "/home/", "/root/"]
            if name != NOTICES:
                texts.append("/usr/") # the notices name licences by Debian's paths
            self.assertEqual(paths_in(place.archive("program") / name, texts), [], name)

    def test_symbols_are_alone_and_name_no_path_of_this_machine(self):
        names = ["symbols/KVAnalyticsDoctor.exe.debug", "symbols/KVAnalyticsProxy.exe.debug"]
        self.assertEqual(files_of(place.archive("symbols")), names)
        texts = [str(place.SOURCE), str(place.BUILD), str(place.folder()), "/home/", "/root/"]
        for name in names:
            self.assertEqual(paths_in(place.archive("symbols") / name, texts), [], name)

    def test_sums_are_those_of_all_archives_and_the_msi(self):
        sums = (place.archives() / "SHA256SUMS").read_text(encoding="ascii")
        names = sorted([*place.ARCHIVES.values(), place.INSTALLER])
        self.assertEqual(sums, "".join(f"{hashlib.sha256((place.archives() / name).read_bytes()).hexdigest()}  {name}\n"
                                       for name in names))

    def test_texts_have_the_line_ends_of_windows_and_no_gaps(self):
        for name in TEXTS:
            content = (place.archive("program") / name).read_bytes()
            self.assertRegex(content, rb"\A([\x20-\x7e]*\r\n)+\Z", name)
            self.assertNotIn(b"@", content, name)

    def test_readme_tells_version_host_and_exit_codes(self):
        readme = (place.archive("program") / "readme.txt").read_text(encoding="ascii")
        self.assertIn(f"proxy {place.VERSION}\n", readme)
        self.assertIn(f"\\Statlet\\LumoLink\\{place.VERSION}:\n", readme)
        self.assertIn(f"to {place.HOST}, port 443,", readme)
        self.assertEqual({int(code, 16) for code in re.findall(r"0x[0-9A-F]{8}\b", readme)}, set(RESULT_NAMES))
        for name in PROGRAM:
            self.assertTrue(name.replace("/", "\\") in readme or name.partition("/")[0] + "\\" in readme, name)

    def test_links_of_the_documents_lead_somewhere(self):
        for page in place.archive("development").rglob("*.md"):
            for link, heading in re.findall(r"\]\(([^)#:]*)(?:#([^)]*))?\)", page.read_text(encoding="utf-8")):
                target = page.parent / link if link else page
                self.assertTrue(target.exists(), f"{page}: {link}")
                if heading:
                    self.assertIn(heading, headings(target), f"{page}: {link}")


class Page(html.parser.HTMLParser):
    """What a page refers to, and what its reader sees."""

    def __init__(self, name):
        super().__init__()
        self.links, self.anchors, self.other, self._text = [], [], [], []
        self.content = (place.archive("program") / name).read_bytes()
        self.feed(self.content.decode("utf-8"))
        self.text = "".join(self._text)

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name == "href" and tag == "a":
                self.links.append(value)
            elif name in ("href", "src", "style") or name.startswith("on"):
                self.other.append((tag, name, value))
            elif name == "id":
                self.anchors.append(value)

    def handle_data(self, data):
        self._text.append(data)

    def handle_comment(self, data):
        self._text.append(f"<!--{data}")


class PagesTests(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.pages = {name: Page(name) for name in PAGES}

    def test_every_link_leads_to_a_page_or_chapter_of_the_archive(self):
        count = 0
        for name, page in self.pages.items():
            for link in page.links:
                target, _, anchor = link.partition("#")
                self.assertIn(f"docs/{target}" if target else name, self.pages, f"{name}: {link}")
                if anchor:
                    self.assertIn(anchor, self.pages[f"docs/{target}" if target else name].anchors, f"{name}: {link}")
                count += 1
        self.assertGreater(count, 50)

    def test_every_page_can_be_reached_from_the_first(self):
        self.assertEqual({f"docs/{link.partition('#')[0]}" for link in self.pages["docs/index.html"].links}, set(PAGES))

    def test_nothing_but_the_style_sheet_is_loaded(self):
        for name, page in self.pages.items():
            self.assertEqual(page.other, [("link", "href", "pages.css")], name)
        style = (place.archive("program") / "docs" / "pages.css").read_text(encoding="ascii")
        self.assertNotRegex(style, r"url\(|@import")
        self.assertIn("color-scheme: light dark", style)

    def test_chapters_of_a_page_have_names_of_their_own(self):
        for name, page in self.pages.items():
            self.assertEqual(sorted(page.anchors), sorted(set(page.anchors)), name)

    def test_no_page_speaks_of_the_sources(self):
        for name, page in self.pages.items():
            self.assertEqual([line for line in page.text.splitlines() if OF_THE_SOURCES.search(line)], [], name)
        self.assertRegex("see CONTRIBUTING.md", OF_THE_SOURCES)

    def test_pages_have_the_line_ends_of_windows(self):
        for content in [page.content for page in self.pages.values()] + \
                [(place.archive("program") / "docs" / "pages.css").read_bytes()]:
            self.assertRegex(content, rb"\A([^\r\n]*\r\n)+\Z")

    def test_pages_have_their_texts(self):
        """Each chapter of the Markdown, except those for readers of the sources."""
        left_out = {"Tests", "How it is made", "For programmers"}
        for name, page in self.pages.items():
            stem = name[len("docs/"):-len(".html")]
            source = place.SOURCE / ("packaging" if stem == "index" else "docs") / f"{stem}.md"
            titles = [re.sub("`", "", title) for title in re.findall(r"(?m)^#+ (.*)$", source.read_text(encoding="utf-8"))]
            self.assertEqual([title for title in titles if title not in page.text and title not in left_out], [], name)

    def test_same_texts_make_the_same_bytes(self):
        work = pathlib.Path(tempfile.mkdtemp(dir=place.folder()))
        sources = [place.SOURCE / ("packaging" if name == "docs/index.html" else "docs") /
                   f"{name[len('docs/'):-len('.html')]}.md" for name in PAGES]
        place.run(sys.executable, "-B", place.SOURCE / "packaging" / "pages.py", work, *sources,
                  "--title", "Norvik usage analytics proxy", "--version", place.VERSION)
        for name in [*PAGES, "docs/pages.css"]:
            self.assertEqual((work / name[len("docs/"):]).read_bytes(), (place.archive("program") / name).read_bytes(), name)


class SymbolTests(unittest.TestCase):
    """The program in the archive is the one that the other tests have tested, and the symbols are its own."""

    def setUp(self):
        self.program = place.archive("program") / "bin" / "KVAnalyticsProxy.exe"
        self.symbols = place.archive("symbols") / "symbols" / "KVAnalyticsProxy.exe.debug"

    def test_program_is_the_delivered_one(self):
        self.assertEqual(self.program.read_bytes(), place.PROGRAM.read_bytes())

    def test_program_names_its_symbol_file_with_the_check_sum(self):
        section = place.folder() / "debuglink"
        place.run(f"{PREFIX}objcopy", "--dump-section", f".gnu_debuglink={section}", self.program,
                  place.folder() / "unused copy")
        content = section.read_bytes()
        name = content[:content.index(b"\0")]
        # The sum follows the name at the next multiple of four.
        check_sum, = struct.unpack_from("<I", content, (len(name) + 4) // 4 * 4)
        self.assertEqual(name.decode("ascii"), self.symbols.name)
        self.assertEqual(check_sum, zlib.crc32(self.symbols.read_bytes()))

    def test_program_itself_has_no_symbols(self):
        self.assertIn("no symbols", place.run(f"{PREFIX}nm", self.program))

    def test_symbols_lead_from_addresses_to_lines(self):
        names = place.run(f"{PREFIX}nm", self.symbols)
        for name, file, text in (
                ("wWinMain", "proxy/AnalyticsProxyApp.cpp", "wWinMain("),
                ("_ZN16KVAnalyticsProxy15CAnalyticsProxy3RunEv", "proxy/AnalyticsProxy.cpp", "CAnalyticsProxy::Run("),
                ("_ZN8GAClient11GetGAClientEv", "ga_client/GAClient.cpp", "GetGAClient(")):
            address = re.search(rf"^([0-9a-f]+) T {name}$", names, re.MULTILINE)
            self.assertIsNotNone(address, name)
            told = place.run(f"{PREFIX}addr2line", "-e", self.symbols, address[1])
            found = re.match(r"(?:\./)+(\S+?):([0-9]+)", told)
            self.assertIsNotNone(found, told)
            self.assertEqual(found[1], file)
            lines = (place.SOURCE / file).read_text(encoding="utf-8").splitlines()
            # The line of the name or that of the brace below it.
            self.assertIn(text, "\n".join(lines[int(found[2]) - 2:int(found[2])]))
