/** Calls `check` until it no longer throws, and returns what it returned last; after `limit` ms its error is thrown. */
export async function eventually(check, limit = 10_000) {
    const end = performance.now() + limit;
    for (;;) {
        try {
            return await check();
        } catch (error) {
            if (performance.now() > end) {
                throw error;
            }
        }
        await new Promise((resolve) => setTimeout(resolve, 20));
    }
}
