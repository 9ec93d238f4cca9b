// The upload page in a real browser: Debian's chromium, headless, driven by
// playwright-core against `corvantis-cli serve` on loopback.
//   node upload-page.test.mjs path/to/corvantis-cli
// Exits 0 on success, 1 on failure, 77 when the browser tooling is missing.
import { spawn } from "node:child_process";
import { existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, rmSync, statSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import assert from "node:assert/strict";

const cli = process.argv[2];
const chromiumPath = process.env.CHROMIUM || "/usr/bin/chromium";

let chromium;
try {
  ({ chromium } = await import("playwright-core"));
} catch {
  console.error("playwright-core is not installed: run scripts/setup.sh");
  process.exit(77);
}
if (!existsSync(chromiumPath)) {
  console.error(`no browser at ${chromiumPath}: run scripts/setup.sh`);
  process.exit(77);
}

const root = mkdtempSync(join(tmpdir(), "corvantis-browser-"));
const home = join(root, "home");
const music = join(home, "Documents", "Downloaded Music");
const clientFiles = join(root, "client");

function pattern(size, seed) {
  const bytes = Buffer.alloc(size);
  for (let i = 0; i < size; i++) bytes[i] = (i * 31 + seed) & 0xff;
  return bytes;
}

// Starts the server and resolves with its port once it says where it listens.
function startServer() {
  const server = spawn(cli, ["serve", "--port", "0"], {
    env: { ...process.env, CORVANTIS_HOME: home, QT_QPA_PLATFORM: "offscreen" },
    stdio: ["ignore", "pipe", "pipe"],
  });
  let out = "";
  let err = "";
  server.stderr.on("data", (chunk) => { err += chunk; });
  const port = new Promise((resolve, reject) => {
    server.stdout.on("data", (chunk) => {
      out += chunk;
      const match = /Serving .* on port (\d+)\n/.exec(out);
      if (match) resolve(Number(match[1]));
    });
    server.on("exit", (code) => reject(new Error(`serve exited with ${code}\n${out}\n${err}`)));
    setTimeout(() => reject(new Error(`serve did not start\n${out}\n${err}`)), 20000).unref();
  });
  return { server, port, log: () => err };
}

async function main() {
  const { server, port: portPromise, log } = startServer();
  const port = await portPromise;
  const profile = join(root, "profile");
  const context = await chromium.launchPersistentContext(profile, {
    executablePath: chromiumPath,
    headless: true,
    args: ["--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
           "--disable-background-networking", "--disable-component-update", "--disable-sync"],
  });
  try {
    const page = context.pages()[0] || (await context.newPage());
    await page.goto(`http://127.0.0.1:${port}/`);
    // The first listing has come back before anything is sent.
    await page.getByText("Nothing uploaded yet.").waitFor();

    // Two files chosen at once through the labelled control.
    const first = join(clientFiles, "First Song.mp3");
    const second = join(clientFiles, "second.flac");
    writeFileSync(first, pattern(3000, 1), { flag: "w" });
    writeFileSync(second, pattern(150000, 2), { flag: "w" });
    await page.getByLabel("Choose files…").setInputFiles([first, second]);

    const rows = page.locator("#uploaded li");
    await rows.nth(1).waitFor({ timeout: 20000 });
    assert.equal(await rows.count(), 2);
    assert.deepEqual(await rows.locator(".name").allTextContents(), ["First Song.mp3", "second.flac"]);
    assert.deepEqual(await rows.locator(".size").allTextContents(), ["2.9 KB", "146 KB"]);
    await page.getByText("Done", { exact: true }).waitFor();
    assert.equal(await page.locator("#totalProgress").evaluate((bar) => bar.value), 1);
    assert.equal(await page.locator("#queue .status").count(), 2);

    // Both landed in the music folder whole.
    assert.deepEqual(readdirSync(music).sort(), ["First Song.mp3", "second.flac"]);
    assert.ok(readFileSync(join(music, "second.flac")).equals(readFileSync(second)));
    assert.equal(statSync(join(music, "First Song.mp3")).size, 3000);

    // A file dropped onto the page goes the same way, under the collision rule.
    const dropped = await page.evaluateHandle(() => {
      const transfer = new DataTransfer();
      transfer.items.add(new File(["dropped bytes"], "First Song.mp3", { type: "audio/mpeg" }));
      return transfer;
    });
    await page.dispatchEvent("#drop", "drop", { dataTransfer: dropped });
    await rows.nth(2).waitFor({ timeout: 20000 });
    assert.equal(await rows.nth(2).locator(".name").textContent(), "First Song (1).mp3");
    assert.equal(readFileSync(join(music, "First Song (1).mp3"), "utf8"), "dropped bytes");

    // A failure answer is shown on the file's row, and nothing is listed for it.
    const refused = await page.evaluateHandle(() => {
      const transfer = new DataTransfer();
      transfer.items.add(new File(["x"], "../escape.mp3", { type: "audio/mpeg" }));
      return transfer;
    });
    await page.dispatchEvent("#drop", "drop", { dataTransfer: refused });
    await page.locator("#queue .error").waitFor({ timeout: 20000 });
    assert.equal(await page.locator("#queue .error").textContent(),
                 "Error saving file ../escape.mp3: File Exists");
    assert.equal(await rows.count(), 3);

    // A reload shows the same list from the device.
    await page.reload();
    await rows.nth(2).waitFor();
    assert.equal(await rows.count(), 3);
  } finally {
    await context.close();
    server.kill("SIGTERM");
    const code = await new Promise((resolve) => server.on("exit", resolve));
    assert.equal(code, 0, `serve ended with ${code}\n${log()}`);
  }
}

try {
  mkdirSync(clientFiles, { recursive: true });
  await main();
  console.log("upload page: chosen and dropped files listed and stored, a refused one shows its failure text");
  rmSync(root, { recursive: true, force: true });
} catch (error) {
  console.error(error);
  console.error(`kept ${root} for a look`);
  process.exit(1);
}
