import { Head } from "../parts/Shell";

export function Record() {
    return <section class="view"><Head title="A record" /></section>;
}
