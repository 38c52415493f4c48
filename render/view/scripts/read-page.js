// What the window has to know of a page that is loaded: how wide it is and what room it has beside a scroll bar, in CSS
// pixels, and how it begins, for those who hear it.
const readPage = longest => {
    const root = document.documentElement, body = document.body;
    const width = Math.max(root.scrollWidth, body ? body.scrollWidth : 0);
    const room = (document.scrollingElement ?? root).clientWidth;
    let text = '';
    const walker = document.createTreeWalker(body ?? root, NodeFilter.SHOW_TEXT);
    for (let seen = 0; seen < longest && text.length < longest && walker.nextNode(); ++seen) {
        const { data, parentElement } = walker.currentNode;
        if (/\S/.test(data) && parentElement?.checkVisibility({ checkVisibilityCSS: true }))
            text += ' ' + data.slice(0, longest).replace(/\s+/g, ' ').trim();
    }
    return { width, room, bar: innerWidth - room, text: text.slice(1, longest) };
};
