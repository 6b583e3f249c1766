import { Head } from "../parts/Shell";

export function Recipe() {
    return <section class="view"><Head title="A recipe" /></section>;
}
