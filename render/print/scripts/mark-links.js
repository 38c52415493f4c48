// A background is what an inline box paints line by line. Where the mail has one already, and for boxes whose
// background may lie hidden behind a picture, an outline within the box does. What the engine prints as a picture
// (filters) or draws twice (masks) would show the mark or find it in two places. The colours are spread over all there
// are, so that faint paint of the mail is hardly ever taken for a mark.
// Returns the links that were marked, in the order drawn: { colour, url, element }, or with the part of the marked box
// that the link takes: [left, top, width, height] as parts of the box, and the box's width over its height. Gives each
// link's element its number in elements.
const markLinks = (text, elements) => {
    const maxLinks = 100000, maxMarks = 300000, maxPlaced = 5000;
    const apart = new Set(), outlined = new Set();
    if (/filter|blend|clip|mask|reflect|\\/i.test(text)) {
        for (const box of document.getElementsByTagName('*'))
            if (apart.has(box.parentElement) || isFlattened(box)) apart.add(box);
    }
    const marks = [], hostMarks = [], links = [];
    const mark = (link, paint) => {
        const waiting = [link];
        let isMarked = false, isMissed = false;
        while (waiting.length && marks.length < maxMarks) {
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
            if (!hosts.has(box)) hosts.set(box, canHost(box) ? nextColour() : 0);
            const colour = hosts.get(box);
            if (!colour) continue;
            if (!outlined.has(box)) {
                outlined.add(box);
                const moves = getComputedStyle(box).transitionDuration != '0s';
                hostMarks.push([box, 'outline', `1px solid ${paintOf(colour)}`, moves]);
            }
            return [box, colour];
        }
    };
    let placed = 0;
    const numberOf = link => {
        if (!elements.has(link)) elements.set(link, elements.size);
        return elements.get(link);
    };
    const place = (address, rects, from, link) => {
        const [host, colour] = rects.length && ++placed <= maxPlaced && hostOf(from) || [];
        if (!host) return;
        const whole = host.getBoundingClientRect();
        for (const rect of rects) {
            const left = Math.max(rect.left, whole.left), top = Math.max(rect.top, whole.top);
            const width = Math.min(rect.right, whole.right) - left, height = Math.min(rect.bottom, whole.bottom) - top;
            if (!(width >= 1 && height >= 1) || links.length >= maxLinks) continue;
            const parts = [(left - whole.left) / whole.width, (top - whole.top) / whole.height, width / whole.width,
                height / whole.height, whole.width / whole.height];
            links.push({ colour, url: address, part: parts.map(part => Number(part.toFixed(6))),
                ...link ? { element: numberOf(link) } : {} });
        }
    };
    const unmarked = [], maps = new Map();
    for (const link of document.links) {
        if (links.length >= maxLinks) break;
        const address = addressOf(link.href);
        if (!address) continue;
        if (link instanceof HTMLAreaElement) {
            const name = link.closest('map')?.name;
            if (name && !maps.has(name)) maps.set(name, []);
            maps.get(name)?.push([link, address]);
            continue;
        }
        const colour = nextColour(), [isMarked, isMissed] = mark(link, paintOf(colour));
        if (isMarked) links.push({ colour, url: address, element: numberOf(link) });
        if (isMissed) unmarked.push([link, address]);
    }
    for (const image of document.images) {
        const areas = image.useMap && isSeen(image) && maps.get(image.useMap.replace(/^.*#/, '')) || [];
        for (let i = areas.length - 1; i >= 0 && placed < maxPlaced; --i)   // the first lies on top: it comes last
            place(areas[i][1], [areaOf(areas[i][0], image)], image);
    }
    for (const [link, address] of unmarked)
        if (placed < maxPlaced && getComputedStyle(link).visibility == 'visible' && isSeen(link.parentElement))
            place(address, rectsOf(link), link.parentElement, link);
    for (const link of document.getElementsByTagNameNS('http://www.w3.org/2000/svg', 'a')) {
        const address = addressOf(link.href.baseVal);
        if (address && placed < maxPlaced && isSeen(link)) place(address, [link.getBoundingClientRect()], link.ownerSVGElement);
    }

    if (!paintByStyle(marks, text)) paintByAttribute(marks, 'mark');
    paintByAttribute(hostMarks, 'host');
    return links;
};
// The names in our list of attachments open the files beside the PDF; nothing of the mail's comes near them.
// Returns links as markLinks does, with the entry's number in the list in place of an address.
const markAttachments = elements => {
    const links = [];
    for (const tree of globalThis.frameTrees?.values() ?? []) {
        [...tree.querySelectorAll('.files li')].forEach((entry, attachment) => {
            const words = entry.firstChild, name = document.createElement('span'), colour = nextColour();
            if (words?.nodeType != Node.TEXT_NODE || !/\S/.test(words.data)) return;
            words.splitText(words.data.trimEnd().length);
            words.replaceWith(name);
            name.append(words);
            name.style.backgroundColor = paintOf(colour);
            elements.set(name, elements.size);
            links.push({ colour, attachment, element: elements.get(name) });
        });
    }
    return links;
};
