import { useEffect, useReducer } from "preact/hooks";

/** A value that components follow. */
export class Store<T> {
    private readonly listeners = new Set<() => void>();

    constructor(private current: T) {}

    get value(): T {
        return this.current;
    }

    set(value: T): void {
        if (value !== this.current) {
            this.current = value;
            for (const listener of [...this.listeners]) {
                listener();
            }
        }
    }

    follow(listener: () => void): () => void {
        this.listeners.add(listener);
        return () => this.listeners.delete(listener);
    }
}

/** The store's value; the component is drawn again when it changes. */
export function useStore<T>(store: Store<T>): T {
    const [, redraw] = useReducer((turn: number, _: void) => turn + 1, 0);
    const drawn = store.value;
    useEffect(() => {
        if (store.value !== drawn) {
            redraw();
        }
        return store.follow(() => redraw());
    }, [store]);
    return drawn;
}
