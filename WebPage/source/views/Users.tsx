import { Head } from "../parts/Shell";

export function Users() {
    return <section class="view"><Head title="Users" /></section>;
}
