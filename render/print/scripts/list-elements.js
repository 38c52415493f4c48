// What the page is made of, for programs that read it aloud (ListedElements.h).

const blockNames = ['address', 'article', 'aside', 'blockquote', 'center', 'dd', 'details', 'div', 'dl', 'dt', 'fieldset',
    'figcaption', 'figure', 'footer', 'form', 'h1', 'h2', 'h3', 'h4', 'h5', 'h6', 'header', 'hr', 'li', 'main', 'nav', 'ol',
    'p', 'pre', 'section', 'summary', 'table', 'caption', 'thead', 'tbody', 'tfoot', 'tr', 'td', 'th', 'ul', 'menu', 'dir'];
const inlineNames = 'a,b,em,font,i,label,small,span,strong,u';
const blockTags = new Set(blockNames), blocksWithin = blockNames.join(',');
const unread = new Set(['style', 'script', 'head', 'title', 'desc', 'defs', 'template', 'noscript', 'map', 'datalist', 'hr']);
const inlineTypes = { code: 'Code', kbd: 'Code', samp: 'Code', tt: 'Code', q: 'Quote' };

const roleOf = box => (box.getAttribute('role') || '').trim().toLowerCase();
const isPresentational = box => /^(none|presentation)$/.test(roleOf(box));
const headingOf = box => {
    if (roleOf(box) == 'heading') return 'H' + Math.min(Math.max(parseInt(box.getAttribute('aria-level')) || 2, 1), 6);
    return /^h[1-6]$/.test(box.localName) && !isPresentational(box) ? box.localName.toUpperCase() : '';
};
const isItem = node => node.nodeType == Node.ELEMENT_NODE && (node.localName == 'li' || roleOf(node) == 'listitem');
const isList = box => /^(ul|ol|menu|dir)$/.test(box.localName) ? !isPresentational(box) : roleOf(box) == 'list';
// Words in lines that styles make boxes, and all that such boxes are in.
const findBoxes = text => {
    const boxes = new Set(), around = new Set();
    if (/display\s*:/i.test(text)) {
        for (const box of document.querySelectorAll(inlineNames)) {
            if (!/^(block|flex|grid|table|list-item|flow-root)/.test(getComputedStyle(box).display)) continue;
            boxes.add(box);
            for (let up = box.parentElement; up && !around.has(up); up = up.parentElement) around.add(up);
        }
    }
    return { boxes, around };
};

// Tables that only lay out say nothing of rows and columns.
const isDataTable = table => {
    const role = roleOf(table);
    if (/^(table|grid|treegrid)$/.test(role)) return true;
    if (role || table.querySelector('table')) return false;
    if (table.caption || table.tHead || table.querySelector('th')) return true;
    const rows = table.rows, maxLooked = 40;
    if (rows.length < 2 || rows[0].cells.length < 2) return false;
    let looked = 0, framed = 0;
    for (let i = 0; i < rows.length && looked < maxLooked; ++i) {
        for (const cell of rows[i].cells) {
            const style = getComputedStyle(cell);
            ++looked;
            if (parseFloat(style.borderTopWidth) + parseFloat(style.borderBottomWidth) > 0) ++framed;
        }
    }
    return framed * 2 > looked;
};
const scopeOf = cell => {
    const said = (cell.scope || '').toLowerCase();
    if (/^row/.test(said)) return 'Row';
    if (/^col/.test(said)) return 'Column';
    return [...cell.parentElement.cells].some(other => other.localName == 'td') ? 'Row' : 'Column';
};
// Not drawn, or only behind the edges of a box without room: the words that mail programs show in their lists.
const isLeftOut = box => {
    if (unread.has(box.localName)) return true;
    if (box.checkVisibility?.({ checkOpacity: true }) === false && getComputedStyle(box).display != 'contents') return true;
    return (box.offsetHeight <= 1 || box.offsetWidth <= 1) && box.firstChild &&
        /hidden|clip/.test(getComputedStyle(box).overflowY);
};
// Letters without room or colour, or beside the page.
const mayBeUnseen = text => /visibility|font(-size)?\s*:[^;"'}]*\b0|transparent|rgba|hsla|-\d{3}/i.test(text);
const isTransparent = style =>
    style.visibility != 'visible' || parseFloat(style.fontSize) < 0.1 || /, 0\)$/.test(style.color);
const isBeside = words => {
    const range = document.createRange();
    range.selectNodeContents(words);
    const { right, bottom } = range.getBoundingClientRect();
    return right <= 0 || bottom <= 0;
};

// Returns a list in the order of the document; nothing if it would be very long. Texts stand as they are, { open: type }
// begins an element and null ends the last one. links: the numbers of the elements that are links.
const listElements = (text, links) => {
    const maxEntries = 60000, maxText = 2000000, maxDepth = 400;
    const list = [], hasGenerated = /:(before|after)\b/i.test(text);
    const { boxes, around } = findBoxes(text);
    const holdsBoxes = box => around.has(box) || box.querySelector(blocksWithin) !== null;
    const asksForUnseen = mayBeUnseen(text), maxBeside = 300;   // more than that has not been put there to be hidden
    let size = 0, depth = 0, beside = 0, isWhole = true;
    const say = words => { size += words.length; list.push(words); };
    const open = (type, more) => list.push({ open: type, ...more });
    const close = () => list.push(null);
    // A flow is where text goes: straight into an element, or into paragraphs that begin and end with it.
    const begin = flow => { if (!flow.isDirect && !flow.isOpen) { open('P'); flow.isOpen = true; } flow.breaks = 0; };
    const end = flow => { if (flow.isOpen) { close(); flow.isOpen = false; } };
    const within = (type, box, more) => {
        open(type, more);
        const flow = { isDirect: takesText(type) && !holdsBoxes(box) };
        walk(box, flow);
        end(flow);
        close();
    };
    const takesText = type => type != 'BlockQuote';
    const whole = (type, box, flow, more) => { end(flow); within(type, box, more); };
    const isHidden = node => asksForUnseen && node.parentElement && (isTransparent(getComputedStyle(node.parentElement)) ||
        beside < maxBeside && isBeside(node) && (beside += node.data.length) <= maxBeside);
    const words = (node, flow) => {
        if (!/\S/.test(node.data)) { if (flow.isDirect || flow.isOpen) say(' '); return; }
        if (isHidden(node)) return;
        const parts = !flow.isDirect && /\n\s*\n/.test(node.data) && /^(pre|break)/.test(getComputedStyle(node.parentElement).whiteSpace)
            ? node.data.split(/\n\s*\n/) : [node.data];
        parts.forEach((part, i) => {
            if (i > 0) end(flow);
            if (!/\S/.test(part)) return;
            begin(flow);
            say(part);
        });
    };
    const added = (box, place, flow) => {
        const [, words] = /^"((?:[^"\\]|\\.)*)"$/.exec(getComputedStyle(box, place).content) || [];
        if (words) { begin(flow); say(words.replace(/\\(.)/g, '$1')); }
    };
    const picture = (image, flow) => {
        const { width, height } = image.getBoundingClientRect(), smallest = 3;
        if (width < smallest || height < smallest) return;
        const named = image.getAttribute('alt') ?? image.getAttribute('aria-label') ?? image.title;
        begin(flow);
        list.push({ picture: named || (image.hasAttribute('alt') || image.getAttribute('role') == 'presentation' ? '' : null),
            shape: [width, height, image.naturalWidth, image.naturalHeight], colour: coloursIn(image.currentSrc)[0] });
    };
    const inlineElement = (type, box, flow, more) => {
        const isInLines = !holdsBoxes(box), inner = { isDirect: isInLines };
        if (isInLines) begin(flow); else end(flow);
        open(type, more);
        walk(box, inner);
        end(inner);
        close();
    };
    const items = (box, flow) => {
        end(flow);
        open('L');
        for (const child of box.childNodes) {
            if (child.nodeType == Node.ELEMENT_NODE && isList(child)) { items(child, { isDirect: false }); continue; }
            if (child.nodeType == Node.TEXT_NODE ? !/\S/.test(child.data) : child.nodeType != Node.ELEMENT_NODE || isLeftOut(child))
                continue;
            open('LI');
            open('Lbl');
            close();
            if (isItem(child)) within('LBody', child);
            else { open('LBody'); const inner = { isDirect: false }; visit(child, inner); end(inner); close(); }
            close();
        }
        close();
    };
    const table = (box, flow) => {
        end(flow);
        open('Table');
        if (box.caption && !isLeftOut(box.caption)) within('Caption', box.caption);
        for (const row of box.rows) {
            if (isLeftOut(row)) continue;
            open('TR');
            for (const cell of row.cells) {
                if (isLeftOut(cell)) continue;
                const isHead = cell.localName == 'th';
                within(isHead ? 'TH' : 'TD', cell, { rows: cell.rowSpan || 65534, columns: cell.colSpan,
                    ...isHead ? { scope: scopeOf(cell) } : {} });
            }
            close();
        }
        close();
    };
    const breakLine = flow => {
        if (flow.isDirect || flow.isOpen) say('\n');
        if (++flow.breaks > 1) end(flow);
    };
    const element = (box, flow) => {
        const name = box.localName, heading = headingOf(box);
        if (heading) whole(heading, box, flow);
        else if (name == 'p') whole('P', box, flow);
        else if (name == 'pre') whole('Code', box, flow);
        else if (name == 'blockquote') whole('BlockQuote', box, flow);
        else if (isList(box) && [...box.children].some(isItem)) items(box, flow);
        else if (name == 'table' && isDataTable(box)) table(box, flow);
        else if (blockTags.has(name)) { end(flow); walk(box, flow); end(flow); }
        else if (name == 'img') picture(box, flow);
        else if (name == 'br') breakLine(flow);
        else {
            if (boxes.has(box)) end(flow);
            if (links.has(box)) inlineElement('Link', box, flow, { link: links.get(box) });
            else if (inlineTypes[name] && !flow.isCode) inlineElement(inlineTypes[name], box, flow);
            else walk(box, flow);
            if (boxes.has(box)) end(flow);
        }
    };
    const visit = (node, flow) => {
        isWhole &&= list.length <= maxEntries && size <= maxText && depth <= maxDepth;
        if (!isWhole) return;
        if (node.nodeType == Node.TEXT_NODE) words(node, flow);
        else if (node.nodeType == Node.ELEMENT_NODE && !isLeftOut(node)) element(node, flow);
    };
    const walk = (box, flow) => {
        ++depth;
        const mayAdd = hasGenerated && box.nodeType == Node.ELEMENT_NODE;
        if (mayAdd) added(box, '::before', flow);
        for (let child = box.firstChild; child; child = child.nextSibling) visit(child, flow);
        if (mayAdd) added(box, '::after', flow);
        --depth;
    };
    const flow = { isDirect: false };
    for (const box of document.documentElement.children) {
        const frame = globalThis.frameTrees?.get(box);   // what is ours stands around the mail
        if (frame || box == document.body) walk(frame || box, flow);
        end(flow);
    }
    return isWhole ? list : [];
};
