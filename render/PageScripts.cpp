#include "render/PageScripts.h"

namespace ostrel::pageScripts {

// Rules of the mail for pages would change our margins and with them the scale; they go. Media queries are answered as
// for paper, so that the width measured on the screen is the printed one. Boxes that scroll cannot be scrolled on
// paper: they grow to their content.
const std::string_view prepareAndMeasure = R"js((() => {
    const forPaper = list => {
        if (!list || !/\b(print|screen)\b/i.test(list.mediaText)) return;
        list.mediaText = list.mediaText.split(',').map(query => {
            const [, not, type, rest] = /^\s*(?:(not)\s+|only\s+)?(\w+)?(.*)$/is.exec(query);
            if (!/^(print|screen)$/i.test(type || '')) return query;
            if (/^print$/i.test(type)) return (not ? 'not ' : '') + 'all' + rest;
            return not ? 'all' : 'not all';
        }).join(',');
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
    if (!root) return 0;
    if (/overflow(-[xy])?\s*:\s*(auto|scroll)/i.test(root.outerHTML)) {
        for (const box of root.getElementsByTagName('*')) {
            const style = getComputedStyle(box);
            if (!/auto|scroll/.test(style.overflowX + style.overflowY)) continue;
            const cutsHeight = box.scrollHeight > box.clientHeight;
            box.style.setProperty('overflow', 'visible', 'important');
            if (!cutsHeight) continue;
            box.style.setProperty('height', 'auto', 'important');
            box.style.setProperty('max-height', 'none', 'important');
        }
    }
    return Math.max(root.scrollWidth, body ? body.scrollWidth : 0);
})())js";

}   // namespace ostrel::pageScripts
