#include "render/print/PageScripts.h"

namespace ostrel::pageScripts {
namespace {

// How links are told, and where they are.
constexpr std::string_view linkPlaces = R"js(
const addressOf = href => {
    const longestAddress = 16384;
    let address;
    try { address = new URL(href, document.baseURI); } catch { return ''; }
    return /^(https?|mailto):$/.test(address.protocol) && address.href.length <= longestAddress ? address.href : '';
};
const isReplaced = box => /^(img|video|object|svg)$/i.test(box.tagName);
const hasText = box => {
    for (let node = box.firstChild; node; node = node.nextSibling)
        if (node.nodeType == Node.TEXT_NODE && /\S/.test(node.data)) return true;
    return false;
};
const flattens = style => style.mixBlendMode != 'normal' || /text/.test(style.webkitBackgroundClip) ||
    ['filter', 'backdropFilter', 'clipPath', 'webkitMaskImage', 'webkitMaskBoxImageSource', 'webkitBoxReflect']
        .some(name => (style[name] || 'none') != 'none');
const isSeen = box => box.checkVisibility?.({ checkOpacity: true, checkVisibilityCSS: true }) !== false;
const rectsOf = link => {
    const range = document.createRange(), whole = [], most = 50;
    range.selectNodeContents(link);
    for (const { left, top, right, bottom } of range.getClientRects()) {
        if (whole.length >= most) break;
        const last = whole[whole.length - 1];
        const isSameLine = last && Math.min(bottom, last.bottom) - Math.max(top, last.top) > (bottom - top) / 2 &&
            left < last.right + 3 && right > last.left - 3;
        if (!isSameLine) { whole.push({ left, top, right, bottom }); continue; }
        last.left = Math.min(last.left, left); last.right = Math.max(last.right, right);
        last.top = Math.min(last.top, top); last.bottom = Math.max(last.bottom, bottom);
    }
    return whole;
};
const areaOf = (area, image) => {
    const style = getComputedStyle(image), box = image.getBoundingClientRect();
    const left = box.left + image.clientLeft + parseFloat(style.paddingLeft);
    const top = box.top + image.clientTop + parseFloat(style.paddingTop);
    const [x, y, ...more] = area.coords.split(/[\s,;]+/).map(parseFloat);
    if (/^def/i.test(area.shape)) return box;
    if (/^circ/i.test(area.shape))
        return { left: left + x - more[0], right: left + x + more[0], top: top + y - more[0], bottom: top + y + more[0] };
    const xs = [x], ys = [y];
    for (let i = 0; i + 1 < more.length && i < 2000; i += 2) { xs.push(more[i]); ys.push(more[i + 1]); }
    return { left: left + Math.min(...xs), right: left + Math.max(...xs), top: top + Math.min(...ys),
        bottom: top + Math.max(...ys) };
};
)js";

// How marks are painted.
constexpr std::string_view paintMarks = R"js(
// Rules that ask for the very text of a style attribute must find the same boxes afterwards.
const asksForStyles = /\[[^\]]*style|\\/i;
const askingSelectors = text => {   // nothing when it cannot be told
    const mostRules = 50, selectors = [], groups = [];
    if (/\[[\s*|]*(style|\/\*)|\battr\b|@namespace|\\/i.test(text)) groups.push(...document.styleSheets);
    while (groups.length) {
        let rules;
        try { rules = groups.pop().cssRules; } catch {}
        for (const rule of rules || []) {
            if (rule.cssRules) groups.push(rule);
            if (rule.styleSheet) groups.push(rule.styleSheet);
            if (/attr\([^)]*style/i.test(rule.cssText) || asksForStyles.test(`${rule.start} ${rule.end}`)) return;
            if (!asksForStyles.test(rule.selectorText)) continue;
            if (selectors.length >= mostRules || /&|\\/.test(rule.selectorText) || rule.cssRules?.length) return;
            selectors.push(rule.selectorText.replace(/::[-\w]+(\([^)]*\))?|:(before|after|first-line|first-letter)\b/gi, ''));
        }
    }
    return selectors;
};
const declarations = (name, value, moves) => [[name, value], ...name == 'outline' ? [['outline-offset', '-1px']] : [],
    ...moves ? [['transition', 'none']] : []];
const paintByStyle = (marks, text) => {
    const selectors = askingSelectors(text);
    if (!selectors) return false;
    const found = () => selectors.flatMap(selector => [...document.querySelectorAll(selector), null]);
    const before = found();
    const kept = before.length ? marks.map(([box]) => [box, box.getAttribute('style')]) : [];
    for (const [box, ...mark] of marks)
        for (const [name, value] of declarations(...mark)) box.style.setProperty(name, value, 'important');
    const after = found();
    if (after.length == before.length && after.every((box, i) => box === before[i])) return true;
    for (const [box, style] of kept)
        if (style === null) box.removeAttribute('style'); else box.setAttribute('style', style);
    return false;
};
// Weaker than the other way where the mail's own styles of a box are important. The engine finds rules by the name of an
// attribute at once, by its value only one by one.
const paintByAttribute = (marks, name) => {
    if (!marks.length) return;
    const sheet = new CSSStyleSheet();
    sheet.replaceSync(marks.map(([box, ...mark], i) => `[data-ostrel-${name}${i}]:not(#ostrel-none#ostrel-none#ostrel-none) { ` +
        declarations(...mark).map(([property, value]) => `${property}: ${value} !important;`).join('') + ' }').join('\n'));
    document.adoptedStyleSheets = [...document.adoptedStyleSheets, sheet];
    marks.forEach(([box], i) => box.setAttribute(`data-ostrel-${name}${i}`, ''));
};
)js";

// A background is what an inline box paints line by line. Where the mail has one already, and for boxes whose
// background may lie hidden behind a picture, an outline within the box does. What the engine prints as a picture
// (filters) or draws twice (masks) would show the mark or find it in two places. The colours are spread over all there
// are, so that faint paint of the mail is hardly ever taken for a mark.
constexpr std::string_view markLinks = R"js(
const markLinks = text => {
    const mostLinks = 100000, mostMarks = 300000, mostPlaced = 5000;
    const apart = new Set(), outlined = new Set();
    if (/filter|blend|clip|mask|reflect|\\/i.test(text)) {
        for (const box of document.getElementsByTagName('*'))
            if (apart.has(box.parentElement) || flattens(getComputedStyle(box))) apart.add(box);
    }
    const marks = [], hostMarks = [], lines = [];
    let colours = 0;
    const nextColour = () => (++colours * 10368889 % 16777216).toString(16).padStart(6, '0');
    const mark = (link, paint) => {
        const waiting = [link];
        let isMarked = false, isMissed = false;
        while (waiting.length && marks.length < mostMarks) {
            const box = waiting.pop(), style = getComputedStyle(box);
            if (!box.style || style.display == 'none') continue;
            if (apart.has(box)) { isMissed = true; continue; }
            const isVisible = style.visibility == 'visible', isBoxless = style.display == 'contents';
            const isInline = isBoxless || style.display == 'inline' && !isReplaced(box);
            const add = (name, value) => marks.push([box, name, value, style.transitionDuration != '0s']);
            const outline = () => style.outlineStyle == 'none' && (!isInline || box.getClientRects().length == 1) &&
                outlined.add(box) && add('outline', '1px solid ' + paint);
            const fill = () => /^(transparent|rgba\(.*, 0\))$/.test(style.backgroundColor) && add('background-color', paint);
            if (isVisible && !isBoxless && (isInline ? fill() || outline() : outline() || fill())) isMarked = true;
            else if (isVisible && (!isInline || hasText(box))) isMissed = true;
            if (isInline || !isVisible || !box.offsetWidth || !box.offsetHeight)
                for (let inner = box.lastElementChild; inner; inner = inner.previousElementSibling) waiting.push(inner);
        }
        return [isMarked, isMissed];
    };
    // What cannot be marked itself has a place within a box around it that can. Whether that box came out whole, and in
    // the shape that it has here, shows on the page.
    const hosts = new Map();
    const canHost = box => {
        if (!box.style || apart.has(box) || outlined.has(box)) return false;
        const style = getComputedStyle(box), { width, height } = box.getBoundingClientRect();
        return (isReplaced(box) || !/^(inline|contents|none)$/.test(style.display)) && style.visibility == 'visible' &&
            style.outlineStyle == 'none' && !box.style.getPropertyPriority('outline-style') &&
            box.getClientRects().length == 1 && width > 4 && height > 4;
    };
    const hostOf = box => {
        for (let up = 0; box && up < 30; ++up, box = box.parentElement) {
            if (!hosts.has(box)) hosts.set(box, canHost(box) ? nextColour() : '');
            const colour = hosts.get(box);
            if (!colour) continue;
            if (!outlined.has(box)) {
                outlined.add(box);
                const moves = getComputedStyle(box).transitionDuration != '0s';
                hostMarks.push([box, 'outline', `1px solid #${colour}01`, moves]);
            }
            return [box, colour];
        }
    };
    let placed = 0;
    const place = (address, rects, from) => {
        const [host, colour] = rects.length && ++placed <= mostPlaced && hostOf(from) || [];
        if (!host) return;
        const whole = host.getBoundingClientRect();
        for (const rect of rects) {
            const left = Math.max(rect.left, whole.left), top = Math.max(rect.top, whole.top);
            const width = Math.min(rect.right, whole.right) - left, height = Math.min(rect.bottom, whole.bottom) - top;
            if (!(width >= 1 && height >= 1) || lines.length >= mostLinks) continue;
            const parts = [(left - whole.left) / whole.width, (top - whole.top) / whole.height, width / whole.width,
                height / whole.height, whole.width / whole.height];
            lines.push(`\n${colour}@${parts.map(part => part.toFixed(6))} ${address}`);
        }
    };
    const unmarked = [], maps = new Map();
    for (const link of document.links) {
        if (lines.length >= mostLinks) break;
        const address = addressOf(link.href);
        if (!address) continue;
        if (link instanceof HTMLAreaElement) {
            const name = link.closest('map')?.name;
            if (name && !maps.has(name)) maps.set(name, []);
            maps.get(name)?.push([link, address]);
            continue;
        }
        const colour = nextColour(), [isMarked, isMissed] = mark(link, `#${colour}01`);
        if (isMarked) lines.push(`\n${colour} ${address}`);
        if (isMissed) unmarked.push([link, address]);
    }
    for (const image of document.images) {
        const areas = image.useMap && isSeen(image) && maps.get(image.useMap.replace(/^.*#/, '')) || [];
        for (let i = areas.length - 1; i >= 0 && placed < mostPlaced; --i)   // the first lies on top: it comes last
            place(areas[i][1], [areaOf(areas[i][0], image)], image);
    }
    for (const [link, address] of unmarked)
        if (placed < mostPlaced && getComputedStyle(link).visibility == 'visible' && isSeen(link.parentElement))
            place(address, rectsOf(link), link.parentElement);
    for (const link of document.getElementsByTagNameNS('http://www.w3.org/2000/svg', 'a')) {
        const address = addressOf(link.href.baseVal);
        if (address && placed < mostPlaced && isSeen(link)) place(address, [link.getBoundingClientRect()], link.ownerSVGElement);
    }

    if (!paintByStyle(marks, text)) paintByAttribute(marks, 'mark');
    paintByAttribute(hostMarks, 'host');
    return lines.join('');
};
)js";

}   // namespace

// Rules of the mail for pages would change our margins and with them the scale; they go. Media queries are answered as
// for paper, so that the width measured on the screen is the printed one. Boxes that scroll cannot be scrolled on
// paper: they grow to their content.
const std::string prepareAndMeasure =
    "(() => {" + std::string(linkPlaces) + std::string(paintMarks) + std::string(markLinks) + R"js(
    const forPaper = list => {
        if (!list || !/\b(print|screen)\b/i.test(list.mediaText)) return;
        list.mediaText = list.mediaText.split(',').map(query => {
            const [, not, type, rest] = /^\s*(?:(not)\s+|only\s+)?(\w+)?(.*)$/is.exec(query);
            if (!/^(print|screen)$/i.test(type || '')) return query;
            if (/^print$/i.test(type)) return (not ? 'not ' : '') + 'all' + rest;
            return not ? 'all' : 'not all';
        }).join(',');
    };
    const set = (box, name, value) => box.style.setProperty(name, value, 'important');
    const unroll = box => {
        const isCut = box.scrollHeight > box.clientHeight;
        set(box, 'overflow', 'visible');
        if (isCut) { set(box, 'height', 'auto'); set(box, 'max-height', 'none'); }
    };
    const waiting = [...document.styleSheets];
    while (waiting.length) {
        const group = waiting.pop();
        let rules;
        try { rules = group.cssRules; } catch { continue; }
        forPaper(group.media);
        for (let i = rules ? rules.length - 1 : -1; i >= 0; --i) {
            const rule = rules[i];
            if (rule instanceof CSSPageRule) group.deleteRule(i);
            else if (rule.cssRules && !(rule instanceof CSSKeyframesRule)) waiting.push(rule);
            else if (rule instanceof CSSImportRule && rule.styleSheet) waiting.push(rule.styleSheet);
        }
    }
    const root = document.documentElement, body = document.body;
    if (!root) return '0';
    const text = root.outerHTML;
    for (const box of [root, body]) {
        if (!box) continue;
        const style = getComputedStyle(box);
        if (/fixed|absolute/.test(style.position)) set(box, 'position', 'relative');
        if (style.overflowX + style.overflowY != 'visiblevisible') unroll(box);
    }
    if (/overflow(-[xy])?\s*:\s*(auto|scroll)|position\s*:\s*fixed/i.test(text)) {
        for (const box of root.getElementsByTagName('*')) {
            const style = getComputedStyle(box);
            if (style.position == 'fixed') set(box, 'position', 'absolute');
            if (/auto|scroll/.test(style.overflowX + style.overflowY)) unroll(box);
        }
    }
    const width = Math.max(root.scrollWidth, body ? body.scrollWidth : 0);
    const hasLinks = document.links.length || document.getElementsByTagNameNS('http://www.w3.org/2000/svg', 'a').length;
    try { return width + (hasLinks ? markLinks(text) : ''); } catch { return String(width); }
})())js";

const std::string_view squeezeAndMeasure = R"js((() => {
    const root = document.documentElement, body = document.body;
    if (!root) return '0';
    root.style.setProperty('width', innerWidth + 'px', 'important');
    const style = document.createElement('style');
    style.textContent = `* { max-width: ${20 * innerWidth}px !important; min-width: 0 !important;
        text-wrap-mode: wrap !important; }
        table, td, th, col { width: auto !important; }`;   // no maximum narrows a table that names its width
    root.append(style);
    return String(Math.max(root.scrollWidth, body ? body.scrollWidth : 0));
})())js";

}   // namespace ostrel::pageScripts
