#include "render/PageScripts.h"

namespace ostrel::pageScripts {
namespace {

// A background is what an inline box paints line by line. Where the mail has one already, and for boxes whose
// background may lie hidden behind a picture, an outline within the box does. What the engine prints as a picture
// (filters) or draws twice (masks) would show the mark or find it in two places. The colours are spread over all there
// are, so that faint paint of the mail is hardly ever taken for a mark.
constexpr std::string_view markLinks = R"js(
const markLinks = text => {
    const mostLinks = 100000, mostMarks = 300000, longestAddress = 16384, mostRules = 50;
    const flattens = style => style.mixBlendMode != 'normal' || /text/.test(style.webkitBackgroundClip) ||
        ['filter', 'backdropFilter', 'clipPath', 'webkitMaskImage', 'webkitMaskBoxImageSource', 'webkitBoxReflect']
            .some(name => (style[name] || 'none') != 'none');
    const apart = new Set();
    if (/filter|blend|clip|mask|reflect|\\/i.test(text)) {
        for (const box of document.getElementsByTagName('*'))
            if (apart.has(box.parentElement) || flattens(getComputedStyle(box))) apart.add(box);
    }
    const marks = [], lines = [];
    const mark = (link, paint) => {
        const waiting = [link];
        let isMarked = false;
        while (waiting.length && marks.length < mostMarks) {
            const box = waiting.pop(), style = getComputedStyle(box);
            if (apart.has(box) || !box.style || style.display == 'none') continue;
            const isVisible = style.visibility == 'visible';
            const isInline = /^(inline|contents)$/.test(style.display) && !/^(img|video|object|svg)$/i.test(box.tagName);
            const add = (name, value) => marks.push([box, name, value, style.transitionDuration != '0s']);
            const outline = () => style.outlineStyle == 'none' && (!isInline || box.getClientRects().length == 1) &&
                add('outline', '1px solid ' + paint);
            const fill = () => /^(transparent|rgba\(.*, 0\))$/.test(style.backgroundColor) && add('background-color', paint);
            if (isVisible && (isInline ? fill() || outline() : outline() || fill())) isMarked = true;
            if (isInline || !isVisible || !box.offsetWidth || !box.offsetHeight)
                for (let inner = box.lastElementChild; inner; inner = inner.previousElementSibling) waiting.push(inner);
        }
        return isMarked;
    };
    for (const link of document.links) {
        if (lines.length >= mostLinks) break;
        if (!(link instanceof HTMLAnchorElement) || !/^(https?|mailto):$/.test(link.protocol)) continue;
        const address = link.href;
        if (address.length > longestAddress) continue;
        const colour = ((lines.length + 1) * 10368889 % 16777216).toString(16).padStart(6, '0');
        if (mark(link, `#${colour}01`)) lines.push(`\n${colour} ${address}`);
    }

    // Rules that ask for the very text of a style attribute must find the same boxes afterwards.
    const asksForStyles = /\[[^\]]*style|\\/i;
    const selectors = [], groups = [];
    if (/\[[\s*|]*(style|\/\*)|\battr\b|@namespace|\\/i.test(text)) groups.push(...document.styleSheets);
    while (groups.length) {
        let rules;
        try { rules = groups.pop().cssRules; } catch {}
        for (const rule of rules || []) {
            if (rule.cssRules) groups.push(rule);
            if (rule.styleSheet) groups.push(rule.styleSheet);
            if (/attr\([^)]*style/i.test(rule.cssText) || asksForStyles.test(`${rule.start} ${rule.end}`)) return '';
            if (!asksForStyles.test(rule.selectorText)) continue;
            if (selectors.length >= mostRules || /&|\\/.test(rule.selectorText) || rule.cssRules?.length) return '';
            selectors.push(rule.selectorText.replace(/::[-\w]+(\([^)]*\))?|:(before|after|first-line|first-letter)\b/gi, ''));
        }
    }
    const found = () => selectors.flatMap(selector => [...document.querySelectorAll(selector), null]);
    const before = found();
    const kept = before.length ? marks.map(([box]) => [box, box.getAttribute('style')]) : [];
    for (const [box, name, value, moves] of marks) {
        box.style.setProperty(name, value, 'important');
        if (name == 'outline') box.style.setProperty('outline-offset', '-1px', 'important');
        if (moves) box.style.setProperty('transition', 'none', 'important');
    }
    const after = found();
    if (after.length == before.length && after.every((box, i) => box === before[i])) return lines.join('');
    for (const [box, style] of kept)
        if (style === null) box.removeAttribute('style'); else box.setAttribute('style', style);
    return '';
};
)js";

}   // namespace

// Rules of the mail for pages would change our margins and with them the scale; they go. Media queries are answered as
// for paper, so that the width measured on the screen is the printed one. Boxes that scroll cannot be scrolled on
// paper: they grow to their content.
const std::string prepareAndMeasure = "(() => {" + std::string(markLinks) + R"js(
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
    try { return width + (document.links.length ? markLinks(text) : ''); } catch { return String(width); }
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
