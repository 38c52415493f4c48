// Which links a page has, and where they are.

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
// The body's own clip is ours, and cuts off nothing that has a place on the page.
const isFlattened = box => box.localName != 'body' && flattens(getComputedStyle(box));
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
