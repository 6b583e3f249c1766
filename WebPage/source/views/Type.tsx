import { Head } from "../parts/Shell";

export function Type() {
    return <section class="view"><Head title="A type" /></section>;
}
