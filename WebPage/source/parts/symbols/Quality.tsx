import { useNews } from "../../data/live";
import { qualityOf } from "../../data/symbols";
import type { SymbolItem } from "../../data/symbols";
import { Text } from "../Text";

/** Whether what is shown of a symbol can be believed, and if not, why. */
export function Quality({ symbol }: { symbol: SymbolItem }) {
    const quality = useNews(() => qualityOf(symbol), [symbol]);
    if (quality === "") {
        return <span class="state quiet">…</span>;
    }
    const isGood = quality === "good";
    return (
        <span class={isGood ? "state good" : "state bad"}>
            <span aria-hidden="true">{isGood ? "●" : "✕"}</span> <Text>{quality}</Text>
        </span>
    );
}
