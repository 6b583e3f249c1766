import { Head } from "../parts/Shell";

export function Active() {
    return <section class="view"><Head title="Active now" /></section>;
}
