"""Two clients against the net server library over the test host:
harvel-client with the exit codes and outputs that scripts rely on, and a
client of another gRPC implementation (Python's grpcio) that must be served
and refused alike."""
import os
import subprocess
import sys
import tempfile
import threading
import time

import grpc

CLIENT, HOST = sys.argv[1], sys.argv[2]
sys.path.insert(0, sys.argv[3])  # the generated stubs
import harvel_net_v1_pb2 as pb  # noqa: E402
import harvel_net_v1_pb2_grpc as rpc  # noqa: E402

failures = []


def run(args, server):
    result = subprocess.run([CLIENT, "--server", server] + args, capture_output=True, timeout=60)
    return result.returncode, result.stdout.decode(), result.stderr.decode()


def expect(name, got, want):
    if got != want:
        failures.append("%s: got %r, want %r" % (name, got, want))


def main():
    with tempfile.TemporaryDirectory() as appl:
        host = subprocess.Popen([HOST, appl], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        try:
            port = int(host.stdout.readline().split()[1])
            check_client(appl, "127.0.0.1:%d" % port, host)
            check_interop("127.0.0.1:%d" % port)
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


def check_client(appl, server, host):
    payload = os.urandom(300000)
    source, target = os.path.join(appl, "up.pdf"), os.path.join(appl, "down.bin")
    with open(source, "wb") as f:
        f.write(payload)
    # (command, exit code, stdout, stderr); None: not looked at. Exit 1 is
    # the machine's no with its words, 2 a refusal before it is asked.
    table = [
        (["read-r", "0", "3"], 0, "0.25\n1.25\n2.25\n", ""),
        (["write-r", "5", "-1.5", "2e3"], 0, "", ""),
        (["read-r", "5", "2"], 0, "-1.5\n2000\n", ""),
        (["read-r", "99", "2"], 1, "", "Address out of range [0, 99]\n"),
        (["select", "PART.MPF"], 0, "", ""),
        (["select", "MISSING.MPF"], 1, "", None),
        (["skip-position"], 0, "x=1.5\ny=-2.5\nz=3\na=0\nb=0\nc=0\n", ""),
        (["message", "--type", "1", "--style", "2", "--text", "Go?", "--input-name", "Part", "--id", "9"],
         0, "button=2\ninput=typed:Go?/Part\n", ""),
        (["calibration"], 1, "", "Cannot get rotab center (0x81501031)\n"),
        (["exists", "//NC/WKS.DIR/A.MPF"], 0, "yes\n", ""),
        (["exists", appl + "/nothing"], 0, "no\n", ""),
        (["exists", "/etc/passwd"], 2, "", None),
        (["exists", appl + "/../x"], 2, "", None),
        (["upload", "--type", "report", source], 0, "", ""),
        (["download", source, target], 0, "", ""),
        (["download", "//NC/NONE.MPF", target + "2"], 1, "", "File not found\n"),
        (["request", "4 7 0 25 ANS25.RES"], 0, "carried out\n1.5\n", ""),
        (["request", "3 7 1 25 1.5", "--name", "w.req"], 0, "carried out, kept\n", ""),
        (["request", "1 7 0 G54"], 1, "failed\n", None),
        (["read-r", "x", "1"], 2, None, None),
        (["frobnicate"], 2, None, None),
    ]
    for args, code, out, err in table:
        got = run(args, server)
        expect(" ".join(args), got, (code, got[1] if out is None else out, got[2] if err is None else err))
    expect("no server", run(["read-r", "0", "1"], "127.0.0.1:1")[0], 2)
    code, out, _ = run(["machine-config"], server)
    expect("machine-config", (code, out.startswith('<?xml version="1.0"')), (0, True))
    with open(target, "rb") as f:
        expect("download bytes", f.read() == payload, True)
    expect("no partial file", [n for n in os.listdir(appl) if n.startswith("down.bin2")], [])

    # watch: a journal is saved, then acknowledged.
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
    expect("watch", (code, out.splitlines()), (0, [
        'program-status status=1 flag=1 program="P.MPF" text=" started"',
        "journal Telmor20261122.cna 100000 saved %s/Telmor20261122.cna acknowledged" % saved]))
    with open(os.path.join(saved, "Telmor20261122.cna"), "rb") as f:
        expect("journal bytes", f.read(), b"J" * 100000)
    expect("acknowledged", os.path.exists(os.path.join(journal_dir, "acknowledged", "Telmor20261122.cna")), True)


def check_interop(server):
    with grpc.insecure_channel(server) as channel:
        machine, files = rpc.MachineStub(channel), rpc.FilesStub(channel)
        reply = machine.WriteRVar(pb.WriteRVarRequest(index=40, values=[1.5, -7e-3]), timeout=20)
        expect("interop write", reply.ok, True)
        reply = machine.ReadRVar(pb.ReadRVarRequest(index=39, count=3), timeout=20)
        expect("interop read", (reply.ok, list(reply.values)), (True, [39.25, 1.5, -7e-3]))
        reply = machine.ReadRVar(pb.ReadRVarRequest(index=98, count=5), timeout=20)
        expect("interop no", (reply.ok, reply.err_info), (False, "Address out of range [0, 99]"))
        try:
            files.CheckFileExists(pb.PathRequest(path="/etc/passwd"), timeout=20)
            failures.append("interop: a path outside the served folders was answered")
        except grpc.RpcError as error:
            expect("interop refused", error.code(), grpc.StatusCode.PERMISSION_DENIED)
        # The standard health service, spoken without its own stubs:
        # HealthCheckRequest{} is empty, SERVING is field 1 = 1.
        health = channel.unary_unary("/grpc.health.v1.Health/Check",
                                     request_serializer=lambda x: x, response_deserializer=lambda x: x)
        expect("health", health(b"", timeout=20), b"\x08\x01")
        expect("health of Machine", health(b"\x0a\x15harvel.net.v1.Machine", timeout=20), b"\x08\x01")


if __name__ == "__main__":
    main()
