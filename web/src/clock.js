// Two clocks. Times are milliseconds.
const SHOW_TENTHS_BELOW = 20_000;

export function timeText(time) {
    const left = Math.max(time, 0);
    if (left < SHOW_TENTHS_BELOW) return (left / 1000).toFixed(1);
    const seconds = Math.ceil(left / 1000);
    const two = (n) => String(n).padStart(2, "0");
    const hours = Math.floor(seconds / 3600);
    const minutes = Math.floor(seconds / 60) % 60;
    return hours ? `${hours}:${two(minutes)}:${two(seconds % 60)}` : `${minutes}:${two(seconds % 60)}`;
}

export class Clock {
    #since = 0;
    #timer = 0;

    // `onTick()` several times a second; `onFlag(side)` once, when a side's time is over.
    constructor({ minutes, increment, onTick, onFlag }) {
        this.times = { w: minutes * 60_000, b: minutes * 60_000 };
        this.increment = increment * 1000;
        this.running = null;
        Object.assign(this, { onTick, onFlag });
    }

    left(side) {
        return this.times[side] - (side === this.running ? performance.now() - this.#since : 0);
    }

    // Stops the one that runs, and adds its increment if its move was `made`; starts the other's.
    press(next, made = true) {
        if (this.running) this.times[this.running] = this.left(this.running) + (made ? this.increment : 0);
        this.running = next;
        this.#since = performance.now();
        this.#timer ||= setInterval(() => this.#tick(), 100);
    }

    stop() {
        if (this.running) this.times[this.running] = this.left(this.running);
        this.running = null;
        clearInterval(this.#timer);
        this.#timer = 0;
    }

    #tick() {
        const side = this.running;
        if (side && this.left(side) <= 0) {
            this.stop();
            this.onFlag(side);
        }
        this.onTick();
    }
}
