// Rules of the mail for pages would change our margins and with them the scale; they go. Media queries are answered as
// for paper, so that the width measured on the screen is the printed one. Boxes that scroll cannot be scrolled on
// paper: they grow to their content. Words that run across the page would be printed wherever they have come to, which
// mostly is outside: they stand still. Columns that were to begin where there is no room for one more are lost on paper,
// the others with them: their text goes on in the last one.
const prepareAndMeasure = () => {
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
        if (isCut) {
            set(box, 'height', box.localName == 'textarea' ? box.scrollHeight + 4 + 'px' : 'auto');
            set(box, 'max-height', 'none');
        }
    };
    const holdStill = box => {
        const still = document.createElement('div');
        for (const name of ['style', 'class', 'id', 'dir', 'lang'])
            if (box.hasAttribute(name)) still.setAttribute(name, box.getAttribute(name));
        still.style.backgroundColor ||= getComputedStyle(box).backgroundColor;
        still.append(...box.childNodes);
        box.replaceWith(still);
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
    if (!root) return JSON.stringify({ width: 0, links: [] });
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
    if (/column/i.test(text)) {
        const cut = new Set();
        for (const box of root.getElementsByTagName('*')) {
            const style = getComputedStyle(box);
            const isCut = style.columnCount + style.columnWidth != 'autoauto' && box.scrollWidth > box.clientWidth;
            if (isCut || cut.has(box.parentElement)) cut.add(box);
        }
        for (const box of cut)
            for (const name of ['break-before', 'break-after'])
                if (getComputedStyle(box).getPropertyValue(name) == 'column') set(box, name, 'auto');
    }
    if (/<textarea/i.test(text)) [...document.getElementsByTagName('textarea')].forEach(unroll);
    if (/<details/i.test(text)) for (const box of document.getElementsByTagName('details')) box.open = true;
    if (/<marquee/i.test(text)) [...document.getElementsByTagName('marquee')].forEach(holdStill);
    const width = Math.max(root.scrollWidth, body ? body.scrollWidth : 0);
    const hasLinks = document.links.length || document.getElementsByTagNameNS('http://www.w3.org/2000/svg', 'a').length;
    const pictures = findPictures(text);
    const elements = new Map();
    let links = [], listing = [];
    try { if (hasLinks) links = markLinks(text, elements); } catch {}   // what cannot be marked stays unmarked
    links.push(...markAttachments(elements));
    try { listing = listElements(text, elements); } catch {}            // what cannot be listed is read line by line
    return JSON.stringify({ width, links, pictures, listing });
};
