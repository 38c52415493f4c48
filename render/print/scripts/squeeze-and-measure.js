const squeezeAndMeasure = () => {
    const root = document.documentElement, body = document.body;
    if (!root) return JSON.stringify({ width: 0, links: [] });
    root.style.setProperty('width', innerWidth + 'px', 'important');
    const style = document.createElement('style');
    style.textContent = `* { max-width: ${20 * innerWidth}px !important; min-width: 0 !important;
        text-wrap-mode: wrap !important; }
        table, td, th, col { width: auto !important; }`;   // no maximum narrows a table that names its width
    root.append(style);
    return JSON.stringify({ width: Math.max(root.scrollWidth, body ? body.scrollWidth : 0), links: [] });
};
