
// --- The start ---

async function begin() {
    const token = /^#([0-9a-f]{40})$/.exec(location.hash);
    if (token) {
        // The token is in nobody's history.
        history.replaceState(null, '', '#/line');
        await post('/login', { token: token[1] });
    }
    state.role = (await getJson('/api/role')).role;
    document.body.classList.toggle('guest', !mayChange());
    addEventListener('hashchange', openPage);
    document.addEventListener('visibilitychange', listen);
    setInterval(() => {
        if (state.source && Date.now() - state.heard > 30000) {
            listen();
        }
    }, 5000);
    document.querySelector('.skip').addEventListener('click', (event) => {
        event.preventDefault();
        document.getElementById('content').focus();
    });
    openPage();
    listen();
}

begin().catch((error) => {
    showSignIn();
    document.getElementById('content').append(make('p', { class: 'trouble' }, error.message));
});
