"use strict";

// What each state is called, what to do then, and its shape in a square of 24 units.
const STATES = {
    empty: ["Empty", "M12 3a9 9 0 1 0 0 18a9 9 0 1 0 0-18zm0 2a7 7 0 1 1 0 14a7 7 0 1 1 0-14z"],
    ignored: ["Left alone", "M6 4h4v16H6zM14 4h4v16h-4z"],
    working: ["Working", "M4 3h16v4l-6 5l6 5v4H4v-4l6-5l-6-5z"],
    done: ["Done: pull it out", "M9 20L1 12l3-3l5 5L20 3l3 3z"],
    already: ["Already right: pull it out", "M3 5h18v5H3zM3 14h18v5H3z"],
    failed: ["Failed", "M3 6l3-3l6 6l6-6l3 3l-6 6l6 6l-3 3l-6-6l-6 6l-3-3l6-6z"],
    refused: ["Refused", "M12 2L24 22H0zM10.5 9v6h3V9zM10.5 17v3h3v-3z"],
};
const RESULTS = {done: "Made", already: "Already right", failed: "Failed", refused: "Refused"};
const RETRY_MILLISECONDS = 1000;
const SILENCE_MILLISECONDS = 12000; // the station says something every five seconds

const byId = (id) => document.getElementById(id);
let silence = 0;

function copyOf(template) {
    return byId(template).content.firstElementChild.cloneNode(true);
}

function put(element, name, text) {
    const part = element.querySelector(name);
    part.textContent = text;
    part.hidden = text === "";
}

function rateText(bytesPerSecond) {
    const rate = bytesPerSecond / 1e6;
    return `${rate < 10 ? rate.toFixed(1) : Math.round(rate)} MB/s`;
}

function timeText(seconds) {
    const padded = (number) => String(number).padStart(2, "0");
    const minutes = Math.floor(seconds / 60);
    return minutes < 60 ? `${minutes}:${padded(seconds % 60)}`
        : `${Math.floor(minutes / 60)}:${padded(minutes % 60)}:${padded(seconds % 60)}`;
}

function clockText(time) {
    const there = new Date(time);
    const clock = there.toTimeString().slice(0, 8);
    return there.toDateString() === new Date().toDateString() ? clock : `${time.slice(0, 10)} ${clock.slice(0, 5)}`;
}

function tileOf(name) {
    const known = [...byId("slots").children].find((tile) => tile.dataset.slot === name);
    const tile = known ?? copyOf("tile");
    if (!known) {
        tile.dataset.slot = name;
        tile.querySelector("h1").textContent = name;
        tile.classList.toggle("long", name.length > 5);
        byId("slots").append(tile);
    }
    return tile;
}

function showSlot(slot) {
    const tile = tileOf(slot.slot);
    const [words, shape] = STATES[slot.state];
    tile.dataset.state = slot.state;
    tile.querySelector("path").setAttribute("d", shape);
    const isWorking = slot.state === "working";
    put(tile, ".words", isWorking ? slot.stage ?? "Waiting" : words);
    const bar = tile.querySelector("progress");
    bar.hidden = !isWorking;
    bar.value = slot.percent ?? 0;
    put(tile, ".figures", [
        slot.percent === undefined ? "" : `${slot.percent} %`,
        slot.bytesPerSecond === undefined ? "" : rateText(slot.bytesPerSecond),
        slot.secondsLeft === undefined ? "" : `${timeText(slot.secondsLeft)} left`,
    ].filter((text) => text !== "").join(" · "));
    put(tile, ".reason", slot.reason ?? "");
    put(tile, ".serial", slot.serial ?? "");
}

function showEnd(end) {
    const item = copyOf("end");
    item.dataset.state = end.state;
    put(item, ".words", RESULTS[end.state]);
    put(item, "b", end.slot);
    put(item, "time", clockText(end.time));
    put(item, ".serial", end.serial ?? "");
    put(item, ".reason", end.reason ?? "");
    return item;
}

function show(news) {
    (news.slots ?? []).forEach(showSlot);
    for (const [name, count] of Object.entries(news.tally ?? {})) {
        document.querySelector(`[data-tally="${name}"]`).textContent = count;
    }
    if (news.ends) {
        byId("ends").replaceChildren(...news.ends.map(showEnd));
    }
    if (news.ending) {
        byId("ending").hidden = false;
    }
}

function setReachable(isReachable) {
    byId("unreachable").hidden = isReachable;
    document.body.classList.toggle("old", !isReachable);
}

function connect() {
    const source = new EventSource("events");
    let isFirst = true;
    const giveUp = () => {
        clearTimeout(silence);
        source.close();
        setReachable(false);
        setTimeout(connect, RETRY_MILLISECONDS);
    };
    const waitForNews = () => {
        clearTimeout(silence);
        silence = setTimeout(giveUp, SILENCE_MILLISECONDS);
    };
    source.onerror = giveUp;
    source.onmessage = (message) => {
        if (isFirst) { // the station may be another one
            byId("slots").replaceChildren();
            byId("ending").hidden = true;
            isFirst = false;
        }
        show(JSON.parse(message.data));
        setReachable(true);
        waitForNews();
    };
    waitForNews();
}

connect();
