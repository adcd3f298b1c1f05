// The top page: the suites' pages in frames, one after the other, so that the attempts never compete
// for connections. The test fills in `window.attackFrames`, the frames' URLs; each page says when it
// is done.
(async () => {
    for (const url of window.attackFrames) {
        await new Promise(resolve => {
            window.onmessage = resolve;
            const frame = document.createElement("iframe");
            frame.src = url;
            document.body.appendChild(frame);
        });
    }
})();
