// A mail may have pictures of the name "body", and document.body is then one of them. What follows sees the document's
// own properties only.
const document = new Proxy(globalThis.document, {
    get: (target, name) => {
        const value = Reflect.get(Document.prototype, name, target);
        return typeof value == 'function' ? value.bind(target) : value;
    },
    set: (target, name, value) => Reflect.set(Document.prototype, name, value, target),
});
