import { useMemo } from "preact/hooks";
import { shown } from "../data/json";
import { liveValue, useNews } from "../data/live";
import { ValueText } from "./Text";

/** What a symbol holds now; greyed and with its age where that can't be believed any more. */
export function Live({ symbol, domain, unit }: { symbol: string; domain: string; unit?: string | undefined }) {
    const drawn = useNews(() => signature(symbol, domain), [symbol, domain]);
    const live = useMemo(() => liveValue(symbol, domain), [drawn]);
    if (!live) {
        return (
            <span class="live waiting" aria-label="not read yet">
                …
            </span>
        );
    }
    if (live.isCurrent) {
        return (
            <span class="live">
                <ValueText value={live.value} unit={unit} />
            </span>
        );
    }
    const age = live.age === undefined ? "never read" : ageText(live.age);
    return (
        <span class="live stale" title={live.text || age}>
            {live.age !== undefined && <ValueText value={live.value} unit={unit} />}
            <span class="age">{age}</span>
        </span>
    );
}

function signature(symbol: string, domain: string): string {
    const live = liveValue(symbol, domain);
    return live ? `${live.isCurrent ? "" : (live.age ?? "never") + live.text} ${shown(live.value)}` : "";
}

export function ageText(seconds: number): string {
    if (seconds < 60) {
        return `${seconds} s old`;
    }
    return seconds < 3600 ? `${Math.floor(seconds / 60)} min old` : `${Math.floor(seconds / 3600)} h old`;
}
