// Where the link leads that has the keyboard.
const tellLinks = () => {
    const tell = url => webkit.messageHandlers.link.postMessage(url);
    addEventListener('focusin', event => tell(String(event.target.closest?.('a[href]')?.href ?? '')));
    addEventListener('focusout', () => tell(''));
};
