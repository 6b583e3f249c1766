import { Head } from "../parts/Shell";

export function Check() {
    return <section class="view"><Head title="Check" /></section>;
}
