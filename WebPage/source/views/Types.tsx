import { Head } from "../parts/Shell";

export function Types() {
    return <section class="view"><Head title="Types" /></section>;
}
