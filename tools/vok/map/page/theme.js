// Light or dark: as the system prefers, until the button says otherwise.

const themeButton = document.getElementById("theme");
const prefersDark = window.matchMedia("(prefers-color-scheme: dark)");

function applyTheme(isDark) {
  document.documentElement.dataset.theme = isDark ? "dark" : "light";
  themeButton.setAttribute("aria-pressed", String(isDark));
  drawStrip();
}

let isThemePicked = false;
themeButton.addEventListener("click", () => {
  isThemePicked = true;
  applyTheme(document.documentElement.dataset.theme !== "dark");
});
prefersDark.addEventListener("change", () => { if (!isThemePicked) applyTheme(prefersDark.matches); });
applyTheme(prefersDark.matches);
