// The head of the page and the list of attachments are ours: they stand above and below the body, each in a closed
// shadow tree that no rule of the mail enters. What the parser made of them is taken out of the body. The rules that
// keep the mail in its place are the user's (PageFrame.cpp).
const putFrame = ({ styleSheet, head, files, padding }) => {
    const root = document.documentElement;
    const body = [...root.children].find(child => child.localName == 'body');
    const sheetOf = text => {
        const sheet = new CSSStyleSheet();
        sheet.replaceSync(text);
        return sheet;
    };
    const ours = sheetOf(styleSheet);
    const bodyRule = [...ours.cssRules].find(rule => rule.selectorText == 'body').style;
    const reset = sheetOf(`:host { all: initial !important; display: block !important; direction: ltr !important;
        unicode-bidi: normal !important; }`);
    const look = sheetOf(`:host { background: #fff !important; -webkit-print-color-adjust: exact !important;
        ${['font', 'color', 'overflow-wrap'].map(name => `${name}: ${bodyRule.getPropertyValue(name)} !important;`).join('')} }
        .end { float: left; width: 0; height: 1px; margin-top: -2px; }`);
    const above = sheetOf(padding ? `:host { padding: ${padding} !important; padding-bottom: 0 !important; }` : '');
    const below = sheetOf(`:host { clear: both !important; position: relative !important; z-index: 1 !important;
        ${padding ? `padding: ${padding} !important; padding-top: 0 !important;` : ''} }`);
    globalThis.frameTrees = new Map();   // for scripts of ours that read the page
    const place = (html, ...sheets) => {
        const box = document.createElement('ostrel-frame');
        const tree = box.attachShadow({ mode: 'closed' });
        tree.adoptedStyleSheets = sheets;
        tree.innerHTML = html;
        globalThis.frameTrees.set(box, tree);
        return box;
    };

    for (let first; (first = body?.firstElementChild) && first.localName != 'main';) first.remove();
    // Forms have their fields in the place of their own properties, as "firstChild". A cleaned mail has no form unless
    // somebody took pains to get it through.
    for (const form of [...document.getElementsByTagName('form')]) {
        const box = document.createElement('div'), content = document.createRange();
        content.selectNodeContents(form);
        box.append(content.extractContents());
        Element.prototype.replaceWith.call(form, box);
    }
    // Before the head stands an empty box: the first line and the first letter of the page, which the mail may give a
    // look, would be the subject's. At its end stands a float: whatever margins the mail has, its body and our list
    // have to clear it.
    root.insertBefore(place('', reset), body ?? null);
    root.insertBefore(place(`${head}<div class="end"></div>`, ours, reset, look, above), body ?? null);
    root.append(place(files, ours, reset, look, below));
    // For paper that the mail's width makes many times as large.
    globalThis.enlargeFrame = factor => look.insertRule(`:host { zoom: ${factor} !important; }`);

    // Nobody else's letters in our words, and nobody else in our look.
    const families = bodyRule.fontFamily.split(',').map(name => name.replace(/["']/g, '').trim().toLowerCase());
    const isFamilyOfOurs = name => /^-/.test(name) || families.includes(name);
    for (const face of root.getElementsByTagNameNS('http://www.w3.org/2000/svg', 'font-face')) face.remove();
    const sheets = [...document.styleSheets];
    const groups = document.fonts.size ? [...sheets] : [];
    while (groups.length) {
        const group = groups.pop();
        let rules;
        try { rules = group.cssRules; } catch {}
        for (let i = rules ? rules.length - 1 : -1; i >= 0; --i) {
            if (rules[i].cssRules) groups.push(rules[i]);
            if (rules[i] instanceof CSSFontFaceRule &&
                isFamilyOfOurs(rules[i].style.getPropertyValue('font-family').replace(/["']/g, '').trim().toLowerCase()))
                group.deleteRule(i);
        }
    }
    const page = sheets[0];
    for (let i = page.cssRules.length - 1; i >= 0; --i)
        if (/^(header|section)\./.test(page.cssRules[i].selectorText)) page.deleteRule(i);
    if (padding) page.insertRule('body { padding-top: 0; padding-bottom: 0; }', page.cssRules.length);
};
