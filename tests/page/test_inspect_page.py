# SPDX-License-Identifier: MIT
"""The page of `dpk inspect`, in a real browser.

QUORVALE_PAGE names the page of the sample piece, AXE the checker of accessibility (axe-core), and
PICTURES a folder for screenshots; without it they lie beside the page.
"""

from __future__ import annotations

import gzip
import os
from collections.abc import Iterator

import pytest
from browser import Browser

PAGE = os.environ["QUORVALE_PAGE"]
DOWN, END, ESCAPE = "\ue015", "\ue010", "\ue00c"


@pytest.fixture(scope="module")
def started() -> Iterator[Browser]:
    browser = Browser(1280, 900)
    yield browser
    browser.close()


@pytest.fixture
def browser(started: Browser) -> Browser:
    started.resize(1280, 900)
    started.prefer("light")
    started.open("/dev/null")
    started.messages()
    started.open(PAGE)
    return started


def test_the_page_is_below_eight_megabytes() -> None:
    assert os.path.getsize(PAGE) < 8_000_000


def test_the_page_asks_for_nothing_and_says_nothing(browser: Browser) -> None:
    browser.run("window.scrollTo(0, document.body.scrollHeight)")
    loaded = browser.run("return performance.getEntriesByType('resource').map(e => e.name)"
                         ".filter(name => !name.startsWith('data:'))")
    assert loaded == []
    assert browser.messages() == []


def test_all_pictures_are_there(browser: Browser) -> None:
    counts = browser.run("""
        const images = [...document.images];
        images.forEach(image => image.loading = 'eager');
        return Promise.all(images.map(image => image.decode().then(() => 1, () => 0)))
            .then(done => [done.length, done.reduce((a, b) => a + b, 0)]);""")
    assert counts[0] > 100
    assert counts[0] == counts[1]


def test_a_ball_shows_the_color_of_its_material(browser: Browser) -> None:
    balls = browser.run("""
        const found = [];
        for (const doc of D.documents) doc.sections[7].items.forEach((item, i) => {
            const parts = item.node[2].map(part => part[1]);
            if (item.node[1].type === '0' && parts.slice(0, 4).every(a => a.type === 'static'))
                found.push([item.label, parts.slice(0, 3).map(a => 255 * +a.value), doc.balls[i][1]]); });
        return Promise.all(found.map(async ([label, color, url]) => {
            const image = new Image(), canvas = document.createElement('canvas');
            image.src = url; await image.decode();
            canvas.getContext('2d').drawImage(image, 0, 0);
            const at = [image.width / 2, image.height / 2, 1, 1];
            return [label, color, [...canvas.getContext('2d').getImageData(...at).data].slice(0, 3)];
        }));""")
    assert len(balls) >= 5
    assert [label for label, color, seen in balls
            if max(abs(a - b) for a, b in zip(color, seen)) > 6] == []


def test_scrubbing_shows_another_moment(browser: Browser) -> None:
    first = browser.run("return document.getElementById('moment').src")
    browser.type("#scrub", END)
    assert browser.run("return document.getElementById('moment').src") != first
    last = browser.run("return document.getElementById('time').textContent")
    assert last.startswith(browser.run("return clock(D.length - 1)"))
    browser.click(".strip button:nth-child(3)")
    assert browser.run("return +document.getElementById('scrub').value") == \
        browser.run("return D.board[2][0]")


def test_search_finds_items_and_escape_shows_all(browser: Browser) -> None:
    shown = "return document.querySelectorAll('.card[data-text]:not([hidden])').length"
    everything = browser.run(shown)
    browser.press("/")
    browser.type("#search", "material bitmap")
    found = browser.run(shown)
    assert 0 < found < everything
    assert browser.run("return document.getElementById('found').textContent").endswith(" found")
    browser.press(ESCAPE)
    assert browser.run(shown) == everything
    browser.type("#search", "ortographic")  # a value inside clips
    assert 0 < browser.run(shown) < everything
    browser.press(ESCAPE)


def test_links_lead_to_items_that_are_there(browser: Browser) -> None:
    broken = browser.run("""
        return [...document.querySelectorAll('a')].map(a => a.getAttribute('href'))
            .filter(href => !href.startsWith('#') || !document.getElementById(href.slice(1)));""")
    assert broken == []
    browser.click("#demo-materials .links a")
    target = browser.run("return location.hash.slice(1)")
    assert browser.run("return document.querySelector(':target').id") == target
    assert browser.run("""const box = document.querySelector(':target').getBoundingClientRect();
                          return box.top >= 0 && box.top < innerHeight;""")


def test_what_uses_an_item_is_used_by_it(browser: Browser) -> None:
    assert browser.run("""
        for (const [from, set] of uses) for (const to of set)
            if (!users.get(to).has(from)) return false;
        return uses.size > 50;""")


def test_a_lit_material_uses_its_light(browser: Browser) -> None:
    lit = browser.run("""
        return D.documents.flatMap(doc => doc.sections[7].items.flatMap((item, i) => item.node[2]
            .filter(part => part[0] === 'light').map(part => [item.label,
                uses.get(itemKey(doc, 7, i + 1)).has(itemKey(doc, 4, +part[1].value))])));""")
    assert len(lit) > 20
    assert [label for label, isUsed in lit if not isUsed] == []


def test_a_mesh_turns_by_keys(browser: Browser) -> None:
    drawn = """const canvas = document.querySelector('canvas');
               return canvas.toDataURL();"""
    browser.run("document.querySelector('canvas').scrollIntoView(); "
                "document.querySelector('canvas').focus()")
    blank = browser.run("""const canvas = document.querySelector('canvas');
        const other = document.createElement('canvas');
        other.width = canvas.width; other.height = canvas.height; return other.toDataURL();""")
    browser.press(DOWN)
    before = browser.run(drawn)
    assert before != blank
    browser.press(DOWN)
    assert browser.run(drawn) != before


@pytest.mark.parametrize("width", [320, 390, 768, 1280, 1920])
def test_nothing_is_wider_than_the_window(browser: Browser, width: int) -> None:
    browser.resize(width, 800)
    assert browser.run("return document.documentElement.scrollWidth") <= width


@pytest.mark.parametrize("scheme", ["light", "dark"])
def test_text_stands_out_from_its_ground(browser: Browser, scheme: str) -> None:
    browser.prefer(scheme)
    ratios = browser.run("""
        const parse = text => text.match(/[\\d.]+/g).slice(0, 3).map(Number);
        const light = rgb => rgb.map(v => v / 255).map(v => v <= 0.03928 ? v / 12.92
            : ((v + 0.055) / 1.055) ** 2.4).reduce((s, v, i) => s + v * [0.2126, 0.7152, 0.0722][i], 0);
        const ground = node => { for (; node; node = node.parentElement) {
            const color = getComputedStyle(node).backgroundColor;
            if (!/, 0\\)$/.test(color)) return parse(color); } return [255, 255, 255]; };
        return ['h1', 'h2', '.card h4', '.card p', '.soft', '.card a', 'dt', '.error, .warning, dd']
            .map(selector => document.querySelector(selector)).map(node => {
                const a = light(parse(getComputedStyle(node).color)), b = light(ground(node));
                return (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05); });""")
    assert min(ratios) >= 4.5


def test_everything_has_a_name_and_a_place(browser: Browser) -> None:
    wrong = browser.run("""
        const wrong = [], ids = new Set();
        for (const node of document.querySelectorAll('[id]')) {
            if (ids.has(node.id)) wrong.push('twice: ' + node.id);
            ids.add(node.id); }
        for (const node of document.querySelectorAll('img:not([alt])')) wrong.push('no alt');
        for (const node of document.querySelectorAll('a, button, input, canvas'))
            if (!(node.getAttribute('aria-label') || node.textContent.trim() || node.labels?.length))
                wrong.push('no name: ' + node.outerHTML.slice(0, 80));
        let level = 0;
        for (const head of document.querySelectorAll('h1, h2, h3, h4')) {
            const next = +head.tagName[1];
            if (next > level + 1) wrong.push('skips a level: ' + head.textContent);
            level = next; }
        return wrong;""")
    assert wrong == []


@pytest.mark.parametrize("scheme", ["light", "dark"])
def test_accessibility(browser: Browser, scheme: str) -> None:
    axe = os.environ["AXE"]
    browser.prefer(scheme)
    with gzip.open(axe, "rt", encoding="utf-8") as stream:
        browser.run(stream.read())
    violations = browser.run_async("""
        const done = arguments[0];
        axe.run().then(result => done(result.violations.map(v => v.id + ': '
            + v.nodes.slice(0, 3).map(node => node.html.slice(0, 120)).join(' | '))));""")
    assert violations == []


def test_pictures_of_the_page(browser: Browser) -> None:
    folder = os.environ.get("PICTURES", os.path.dirname(PAGE))
    for name, width, scheme in (("wide-light", 1280, "light"), ("wide-dark", 1280, "dark"),
                                ("narrow-light", 390, "light")):
        browser.resize(width, 900)
        browser.prefer(scheme)
        path = os.path.join(folder, f"page-{name}.png")
        browser.picture(path)
        assert os.path.getsize(path) > 5000
