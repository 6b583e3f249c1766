import { Head } from "../parts/Shell";

export function History() {
    return <section class="view"><Head title="History" /></section>;
}
