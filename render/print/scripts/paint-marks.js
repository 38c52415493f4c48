// How marks are painted.

let colours = 0;
const nextColour = () => ++colours * 10368889 % 16777216;
const paintOf = colour => `#${colour.toString(16).padStart(6, '0')}01`;

// Rules that ask for the very text of a style attribute must find the same boxes afterwards.
const asksForStyles = /\[[^\]]*style|\\/i;
const askingSelectors = text => {   // nothing when it cannot be told
    const maxRules = 50, selectors = [], groups = [];
    if (/\[[\s*|]*(style|\/\*)|\battr\b|@namespace|\\/i.test(text)) groups.push(...document.styleSheets);
    while (groups.length) {
        let rules;
        try { rules = groups.pop().cssRules; } catch {}
        for (const rule of rules || []) {
            if (rule.cssRules) groups.push(rule);
            if (rule.styleSheet) groups.push(rule.styleSheet);
            if (/attr\([^)]*style/i.test(rule.cssText) || asksForStyles.test(`${rule.start} ${rule.end}`)) return;
            if (!asksForStyles.test(rule.selectorText)) continue;
            if (selectors.length >= maxRules || /&|\\/.test(rule.selectorText) || rule.cssRules?.length) return;
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
