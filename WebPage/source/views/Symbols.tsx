import { Head } from "../parts/Shell";

export function Symbols() {
    return <section class="view"><Head title="Symbols" /></section>;
}
