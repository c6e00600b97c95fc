"""harvel-client against the net server library over the test host: the
exit codes and outputs that scripts rely on."""
import os
import subprocess
import sys
import tempfile
import threading
import time

CLIENT, HOST = sys.argv[1], sys.argv[2]
failures = []


def run(args, server):
    result = subprocess.run([CLIENT, "--server", server] + args, capture_output=True,
                            timeout=60)
    return result.returncode, result.stdout.decode(), result.stderr.decode()


def expect(name, got, want):
    if got != want:
        failures.append("%s: got %r, want %r" % (name, got, want))


def main():
    with tempfile.TemporaryDirectory() as appl:
        host = subprocess.Popen([HOST, appl], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                text=True)
        try:
            port = int(host.stdout.readline().split()[1])
            check(appl, "127.0.0.1:%d" % port, host)
        finally:
            host.stdin.close()
            host.wait(timeout=30)
    for failure in failures:
        print("FAIL", failure)
    sys.exit(1 if failures else 0)


def tell(host, line):
    host.stdin.write(line + "\n")
    host.stdin.flush()
    return host.stdout.readline().strip()


def check(appl, server, host):
    expect("read-r", run(["read-r", "0", "3"], server), (0, "0.25\n1.25\n2.25\n", ""))
    expect("write-r", run(["write-r", "5", "-1.5", "2e3"], server)[0], 0)
    expect("read back", run(["read-r", "5", "2"], server)[1], "-1.5\n2000\n")
    # The machine's no: exit 1 and its words on stderr.
    expect("out of range", run(["read-r", "99", "2"], server),
           (1, "", "Address out of range [0, 99]\n"))
    expect("select", run(["select", "PART.MPF"], server)[0], 0)
    expect("select missing", run(["select", "MISSING.MPF"], server)[0:2], (1, ""))
    expect("skip", run(["skip-position"], server)[1], "x=1.5\ny=-2.5\nz=3\na=0\nb=0\nc=0\n")
    expect("message", run(["message", "--type", "1", "--style", "2", "--text", "Go?",
                           "--input-name", "Part", "--id", "9"], server),
           (0, "button=2\ninput=typed:Go?/Part\n", ""))
    code, out, _ = run(["machine-config"], server)
    expect("machine-config", (code, out.startswith('<?xml version="1.0"')), (0, True))
    expect("calibration", run(["calibration"], server),
           (1, "", "Cannot get rotab center (0x81501031)\n"))
    expect("exists NC", run(["exists", "//NC/WKS.DIR/A.MPF"], server), (0, "yes\n", ""))
    expect("exists local", run(["exists", appl + "/nothing"], server), (0, "no\n", ""))
    # Refused before the machine is asked: a transport-level error.
    expect("exists outside", run(["exists", "/etc/passwd"], server)[0], 2)
    expect("exists dotdot", run(["exists", appl + "/../x"], server)[0], 2)

    payload = os.urandom(300000)
    source = os.path.join(appl, "up.pdf")
    with open(source, "wb") as f:
        f.write(payload)
    expect("upload", run(["upload", "--type", "report", source], server), (0, "", ""))
    target = os.path.join(appl, "down.bin")
    expect("download", run(["download", source, target], server), (0, "", ""))
    with open(target, "rb") as f:
        expect("download bytes", f.read() == payload, True)
    expect("download missing", run(["download", "//NC/NONE.MPF", target + "2"], server),
           (1, "", "File not found\n"))
    expect("no partial file", os.path.exists(target + "2"), False)

    expect("request read", run(["request", "4 7 0 25 ANS25.RES"], server),
           (0, "carried out\n1.5\n", ""))
    expect("request kept", run(["request", "3 7 1 25 1.5", "--name", "w.req"], server),
           (0, "carried out, kept\n", ""))
    code, out, err = run(["request", "1 7 0 G54"], server)
    expect("request failed", (code, out), (1, "failed\n"))

    # watch: a journal is saved, then acknowledged; the next watch does not
    # get it again.
    journal_dir = os.path.join(appl, "zyn", "journal")
    with open(os.path.join(journal_dir, "Telmor20261122.cna"), "wb") as f:
        f.write(b"J" * 100000)
    saved = os.path.join(appl, "saved")
    os.mkdir(saved)
    watcher = []
    thread = threading.Thread(target=lambda: watcher.append(
        run(["watch", "--journals", saved, "--count", "2"], server)))
    thread.start()
    # Notices go out once the watch has subscribed; a journal waits anyway.
    for _ in range(400):
        if tell(host, "program 1 started") == "ok":
            break
        time.sleep(0.05)
    expect("notify journal", tell(host, "journal " + journal_dir + "/Telmor20261122.cna"), "ok")
    thread.join(60)
    code, out, _ = watcher[0] if watcher else (None, "", "")
    lines = out.splitlines()
    expect("watch code", code, 0)
    expect("watch journal", lines[1] if len(lines) > 1 else "",
           "journal Telmor20261122.cna 100000 saved %s/Telmor20261122.cna acknowledged" % saved)
    expect("watch status", lines[0] if lines else "",
           'program-status status=1 flag=1 program="P.MPF" text=" started"')
    with open(os.path.join(saved, "Telmor20261122.cna"), "rb") as f:
        expect("journal bytes", f.read(), b"J" * 100000)
    expect("acknowledged", os.path.exists(
        os.path.join(journal_dir, "acknowledged", "Telmor20261122.cna")), True)

    # Usage and transport errors.
    expect("usage", run(["read-r", "x", "1"], server)[0], 2)
    expect("unknown command", run(["frobnicate"], server)[0], 2)
    expect("no server", run(["read-r", "0", "1"], "127.0.0.1:1")[0], 2)


if __name__ == "__main__":
    main()
