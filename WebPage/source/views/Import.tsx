import { Head } from "../parts/Shell";

export function Import() {
    return <section class="view"><Head title="Import and export" /></section>;
}
