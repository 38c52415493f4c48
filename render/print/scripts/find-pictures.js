// Drawings that stand for pictures (Placeholders.h), each told by its colour.
const drawings = /data:image\/svg\+xml,%3Csvg%20xmlns=%22http:\/\/www\.w3\.org\/2000\/svg%22%20preserveAspectRatio=%22none%22%20[\w%=./]{1,200}fill=%22%23([0-9A-F]{6})%22\/%3E%3C\/svg%3E/g;
const coloursIn = text => text ? Array.from(String(text).matchAll(drawings), found => parseInt(found[1], 16)) : [];
const hasDrawings = text => !!text && text.includes('data:image/svg+xml,%3Csvg%20xmlns=');
// Of styles that draw what they name; of styles that ask for its shape or pixels.
const drawn = ['backgroundImage', 'listStyleImage', 'content'];
const asked = ['borderImageSource', 'webkitMaskImage', 'webkitMaskBoxImageSource', 'shapeOutside', 'webkitBoxReflect'];
const isNotPlain = style => ['filter', 'backdropFilter', 'clipPath'].some(name => (style[name] || 'none') != 'none') ||
    /^none/.test(style.imageOrientation || '') || /text/.test(style.webkitBackgroundClip);
const isEmptied = box => {   // by a box around it that shows nothing of what it holds
    for (let up = box, left = 50; up && left > 0; up = up.parentElement, --left) {
        const { width, height } = up.getBoundingClientRect();
        if (up == box ? width < 1 || height < 1 : (width < 1 || height < 1) && getComputedStyle(up).overflow != 'visible')
            return true;
    }
    return false;
};
const isShown = box => {
    const { right, bottom } = box.getBoundingClientRect();
    return right > 1 && bottom > 1 && isSeen(box) && !isEmptied(box);
};
// Returns the colours of pictures of which only the engine can make what the page wants, as what it makes has other
// colours or another shape; and of those that the page surely shows.
const findPictures = text => {
    const changed = new Set(), seen = new Set();
    if (!hasDrawings(text)) return { changed: [], seen: [] };
    const mayChange = /filter|clip|mask|reflect|shape|border-image|orientation|\\/i.test(text) ||
        [...document.styleSheets].some(sheet => sheet.href);
    const isStyled = mayChange || /url\(\s*(&quot;|["'])?data:image\/svg\+xml,|background=/i.test(text);
    const pseudos = ['before', 'after', 'marker', 'first-letter', 'first-line'].filter(name => text.includes(':' + name));
    const apart = new Set(), most = 2000;
    let looks = 0;
    const add = (set, value) => { if (hasDrawings(value)) for (const colour of coloursIn(value)) set.add(colour); };
    const look = (style, isApart, isSure) => {
        for (const name of drawn) {
            if (!hasDrawings(style[name])) continue;
            if (isApart) add(changed, style[name]);
            else if (name == 'backgroundImage' && isSure && looks++ < most && isSure()) add(seen, style[name]);
        }
        for (const name of asked) add(changed, style[name]);
    };
    for (const box of isStyled ? document.getElementsByTagName('*') : document.images) {
        const own = [box.currentSrc, box.src, box.srcset, box.href?.baseVal].find(hasDrawings);
        let isApart = false;
        if (isStyled) {
            const style = getComputedStyle(box);
            isApart = mayChange && (apart.has(box.parentElement) || isNotPlain(style));
            if (isApart) apart.add(box);
            look(style, isApart, () => isShown(box));
            for (const name of pseudos) {
                const inner = getComputedStyle(box, '::' + name);
                look(inner, isApart || isNotPlain(inner));
            }
        }
        if (!own) continue;
        if (isApart || box.closest('mask,pattern,filter,marker,symbol,defs')) add(changed, own);
        else if (box.currentSrc && looks++ < most && isShown(box)) add(seen, box.currentSrc);
    }
    return { changed: [...changed], seen: [...seen] };
};
