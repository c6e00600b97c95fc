"""A client written with another gRPC implementation (Python's grpcio)
against the library over the test host: it must read and write R
variables, see the health service, and get the same refusals."""
import os
import subprocess
import sys
import tempfile

import grpc

sys.path.insert(0, sys.argv[1])  # the generated stubs
import harvel_net_v1_pb2 as pb  # noqa: E402
import harvel_net_v1_pb2_grpc as rpc  # noqa: E402

HOST = sys.argv[2]


def main():
    with tempfile.TemporaryDirectory() as appl:
        host = subprocess.Popen([HOST, appl], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                text=True)
        try:
            line = host.stdout.readline().split()
            assert line and line[0] == "port", line
            check(int(line[1]))
        finally:
            host.stdin.close()
            host.wait(timeout=30)
    print("interop: ok")


def check(port):
    with grpc.insecure_channel("127.0.0.1:%d" % port) as channel:
        machine = rpc.MachineStub(channel)
        files = rpc.FilesStub(channel)

        reply = machine.ReadRVar(pb.ReadRVarRequest(index=0, count=5), timeout=20)
        assert reply.ok, reply
        assert list(reply.values) == [0.25, 1.25, 2.25, 3.25, 4.25], reply.values

        reply = machine.WriteRVar(pb.WriteRVarRequest(index=40, values=[1.5, -7e-3]), timeout=20)
        assert reply.ok, reply
        reply = machine.ReadRVar(pb.ReadRVarRequest(index=40, count=2), timeout=20)
        assert list(reply.values) == [1.5, -7e-3], reply.values

        reply = machine.ReadRVar(pb.ReadRVarRequest(index=98, count=5), timeout=20)
        assert not reply.ok and reply.err_info == "Address out of range [0, 99]", reply

        try:
            files.CheckFileExists(pb.PathRequest(path="/etc/passwd"), timeout=20)
            raise AssertionError("a path outside the served folders was answered")
        except grpc.RpcError as error:
            assert error.code() == grpc.StatusCode.PERMISSION_DENIED, error

        # The standard health service, spoken without its own stubs:
        # HealthCheckRequest{} is empty, SERVING is field 1 = 1.
        health = channel.unary_unary("/grpc.health.v1.Health/Check",
                                     request_serializer=lambda x: x,
                                     response_deserializer=lambda x: x)
        assert health(b"", timeout=20) == b"\x08\x01"
        assert health(b"\x0a\x15harvel.net.v1.Machine", timeout=20) == b"\x08\x01"


if __name__ == "__main__":
    main()
