"""RabbitMQ servers of a test's own: in a folder of its own, on the loopback or in network namespaces of its own."""

import base64
import ctypes
import hashlib
import json
import os
import pathlib
import shutil
import signal
import socket
import struct
import subprocess
import time

LIBRARY, PR_SET_PDEATHSIG = ctypes.CDLL(None), 1
LAUNCHER = pathlib.Path("/usr/lib/rabbitmq/bin/rabbitmq-server")  # without the wrapper, which switches users
USER, CLERK, PASSWORD = "ann", "clerk", "correct horse"
VHOSTS = ("bureau", "tight", "tall", "other", "studio", "empty")


def why_not():
    """Why no server can be started here; empty when one can."""
    if not LAUNCHER.is_file():
        return "rabbitmq-server is not installed"
    return "" if shutil.which("epmd") else "epmd of Erlang is not installed"


def free_ports(count):
    """Ports of the loopback that nobody has; they may be taken before they are used."""
    sockets = [socket.socket() for _ in range(count)]
    try:
        for each in sockets:
            each.bind(("127.0.0.1", 0))
        return [each.getsockname()[1] for each in sockets]
    finally:
        for each in sockets:
            each.close()


def password_hash(password):
    salt = os.urandom(4)
    return base64.b64encode(salt + hashlib.sha256(salt + password.encode()).digest()).decode()


def definitions():
    """Users, of whom the clerk may make no queues, and virtual hosts, of which "tight" takes five jobs."""
    return {
        "users": [{"name": name, "password_hash": password_hash(PASSWORD), "tags": "",
                   "hashing_algorithm": "rabbit_password_hashing_sha256"} for name in (USER, CLERK)],
        "vhosts": [{"name": name} for name in VHOSTS],
        "permissions": [{"user": user, "vhost": name, "configure": configure, "write": ".*", "read": ".*"}
                        for name in VHOSTS for user, configure in ((USER, ".*"), (CLERK, "^$"))],
        "policies": [{"vhost": "tight", "name": "few", "pattern": "jobs$", "apply-to": "queues", "priority": 1,
                      "definition": {"max-length": 5}}],
    }


def end_with_parent():
    """A test that is killed, as for taking too long, takes along what it started."""
    LIBRARY.prctl(PR_SET_PDEATHSIG, signal.SIGKILL)


class Processes:
    """Started in groups of their own, so that nothing of them is left."""

    def __init__(self):
        self.all = []

    def start(self, command, **keywords):
        process = subprocess.Popen(command, start_new_session=True, stdin=subprocess.DEVNULL,
                                   preexec_fn=end_with_parent, **keywords)
        self.all.append(process)
        return process

    @staticmethod
    def kill(process, number=signal.SIGKILL):
        try:
            os.killpg(process.pid, number)
        except ProcessLookupError:
            pass

    def end(self):
        for process in reversed(self.all):
            self.kill(process)
            process.wait(30)
        self.all.clear()


def cluster(folder, network):
    """Servers of one cluster, in the namespaces 1 to 3 of a network. Whoever gets them ends them."""
    addresses = [network.address(i) for i in (1, 2, 3)]
    servers = [Server(folder / f"q{i}", address=address, within=network.within(i),
                      peers=[f"q@{each}" for each in addresses])
               for i, address in enumerate(addresses, 1)]
    try:
        for server in servers:
            server.start(wait=0)
        for server in servers:
            server.wait(120)
    except BaseException:
        for server in servers:
            server.end()
        raise
    return servers


class Server:
    """One node. `within` is a command that runs others in its network namespace, of which `address` is then one."""

    def __init__(self, folder, name="q", address="127.0.0.1", within=(), peers=(), tls=None):
        self.folder, self.address, self.within, self.tls = pathlib.Path(folder), address, list(within), tls
        self.folder.mkdir(parents=True)
        self.processes = Processes()
        if within:
            self.port, self.tls_port, distribution, self.epmd_port = 5672, 5671, 25672, 4369
        else:
            self.port, self.tls_port, distribution, self.epmd_port = free_ports(4)
        self.node = f"{name}@{address}"
        cookie = self.folder / ".erlang.cookie"
        cookie.write_text("COOKIEOFATEST")
        cookie.chmod(0o400)
        (self.folder / "definitions.json").write_text(json.dumps(definitions()))
        (self.folder / "plugins").write_text("[].\n")
        self.write_configuration(peers)
        bytes_of = ",".join(address.split("."))
        self.environment = {
            "PATH": os.environ["PATH"], "HOME": str(self.folder), "LANG": "C.UTF-8",
            "RABBITMQ_NODENAME": self.node, "RABBITMQ_USE_LONGNAME": "true",
            "RABBITMQ_MNESIA_BASE": str(self.folder / "data"), "RABBITMQ_LOG_BASE": str(self.folder / "log"),
            "RABBITMQ_CONF_ENV_FILE": "/dev/null", "RABBITMQ_CONFIG_FILE": str(self.folder / "rabbitmq.conf"),
            "RABBITMQ_ENABLED_PLUGINS_FILE": str(self.folder / "plugins"),
            "RUNNING_UNDER_SYSTEMD": "true",  # the Erlang machine is then the process itself, not a child of a shell
            "RABBITMQ_PID_FILE": str(self.folder / "pid"), "RABBITMQ_DIST_PORT": str(distribution),
            "RABBITMQ_SERVER_ADDITIONAL_ERL_ARGS":
                f"-kernel inet_dist_use_interface {{{bytes_of}}} -kernel net_ticktime 8 +S 2:2 +sbwt none",
            "ERL_EPMD_PORT": str(self.epmd_port), "ERL_EPMD_ADDRESS": address,
        }
        self.epmd = self.processes.start([*self.within, "epmd", "-port", str(self.epmd_port), "-address", address],
                                         env=self.environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.process = None

    def write_configuration(self, peers):
        lines = [f"listeners.tcp.1 = {self.address}:{self.port}", "loopback_users = none",
                 "vm_memory_high_watermark.absolute = 2GB", "disk_free_limit.absolute = 10MB", f"load_definitions = {self.folder}/definitions.json",
                 "log.file.level = warning", "log.console = false"]
        if self.tls:
            lines += [f"listeners.ssl.1 = {self.address}:{self.tls_port}"]
            lines += [f"ssl_options.{key} = {value}" for key, value in self.tls.items()]
        if peers:
            lines += ["cluster_formation.peer_discovery_backend = classic_config",
                      "cluster_partition_handling = pause_minority", "cluster_formation.target_cluster_size_hint = 3"]
            lines += [f"cluster_formation.classic_config.nodes.{i} = {peer}" for i, peer in enumerate(peers, 1)]
        (self.folder / "rabbitmq.conf").write_text("\n".join(lines) + "\n")

    def start(self, wait=60):
        log = (self.folder / "output").open("ab")
        self.process = self.processes.start([*self.within, str(LAUNCHER)], env=self.environment, cwd=self.folder,
                                            stdout=log, stderr=log)
        if wait:
            self.wait(wait)

    def wait(self, most=60):
        """Until it answers as a server of messages does. Returns seconds."""
        began = time.monotonic()
        while time.monotonic() - began < most:
            if self.process.poll() is not None:
                raise RuntimeError("the server ended: " + self.output())
            if self.answers():
                return time.monotonic() - began
            time.sleep(0.1)
        raise RuntimeError("the server does not begin: " + self.output())

    def answers(self):
        probe = ("import socket; s = socket.create_connection(('%s', %d), 1); s.settimeout(2);"
                 "s.sendall(b'AMQP\\0\\0\\x09\\1'); exit(s.recv(1) != b'\\1')" % (self.address, self.port))
        if not self.within:
            try:
                with socket.create_connection((self.address, self.port), 1) as connection:
                    connection.settimeout(2)
                    connection.sendall(b"AMQP\0\0\x09\1")
                    return connection.recv(1) == b"\1"
            except OSError:
                return False
        probed = subprocess.run([*self.within, "python3", "-c", probe], stderr=subprocess.DEVNULL, check=False)
        return probed.returncode == 0

    def output(self):
        texts = [path.read_text(errors="replace")[-3000:]
                 for path in [self.folder / "output", *sorted((self.folder / "log").glob("*.log"))] if path.exists()]
        return "\n".join(texts)

    def signal(self, number):
        """The server's Erlang machine is of the group of its launcher."""
        Processes.kill(self.process, number)

    def kill(self):
        self.signal(signal.SIGKILL)
        self.process.wait(30)

    def url(self, vhost="bureau", user=USER, host=None, tls=False):
        port = self.tls_port if tls else self.port
        return f"amqp{'s' if tls else ''}://{user}@{host or self.address}:{port}/{vhost}"

    def end(self):
        self.processes.end()


class Network:
    """Namespaces 0 (the clients') to `nodes`, and one with the bridge between them."""

    def __init__(self, nodes):
        self.name, self.count = f"qx{os.getpid()}", nodes + 1
        self.names = []
        try:
            self.make(f"{self.name}hub")
            self.ip("hub", "link", "add", "bridge", "type", "bridge")
            self.ip("hub", "link", "set", "bridge", "up")
            for i in range(self.count):
                self.join(i)
        except BaseException:
            self.end()
            raise

    def make(self, name):
        subprocess.run(["ip", "netns", "add", name], check=True, capture_output=True)
        self.names.append(name)
        subprocess.run(["ip", "-n", name, "link", "set", "lo", "up"], check=True)

    def join(self, i):
        self.make(f"{self.name}n{i}")
        self.ip("hub", "link", "add", f"v{i}", "type", "veth", "peer", "name", "eth", "netns", f"{self.name}n{i}")
        self.ip("hub", "link", "set", f"v{i}", "master", "bridge", "up")
        self.ip(f"n{i}", "address", "add", f"{self.address(i)}/24", "dev", "eth")
        self.ip(f"n{i}", "link", "set", "eth", "up")

    def ip(self, where, *words):
        subprocess.run(["ip", "-n", self.name + where, *words], check=True)

    @staticmethod
    def address(i):
        return f"10.213.77.{i + 1}"

    def within(self, i):
        return ["ip", "netns", "exec", f"{self.name}n{i}"]

    def cut(self, i):
        self.ip("hub", "link", "set", f"v{i}", "down")

    def mend(self, i):
        self.ip("hub", "link", "set", f"v{i}", "up")

    def end(self):
        for name in self.names:
            subprocess.run(["ip", "netns", "delete", name], check=False, capture_output=True)

    @staticmethod
    def why_not():
        if not shutil.which("ip"):
            return "iproute2 is not installed"
        name = f"qx{os.getpid()}try"
        made = subprocess.run(["ip", "netns", "add", name], capture_output=True, text=True, check=False)
        subprocess.run(["ip", "netns", "delete", name], capture_output=True, check=False)
        return f"no network namespace can be made here ({made.stderr.strip()})" if made.returncode else ""


def short_text(text):
    data = text.encode() if isinstance(text, str) else text
    return bytes([len(data)]) + data


def long_text(data):
    return struct.pack(">I", len(data)) + data


def table(*entries):
    """A table of the protocol, of (name, type, bytes)."""
    return long_text(b"".join(short_text(name) + kind + value for name, kind, value in entries))


def nested_table(depth):
    inner = table()
    for _ in range(depth):
        inner = table(("a", b"F", inner))
    return inner


class Publisher:
    """Speaks just enough of the protocol to put any bytes into a queue, as its libraries would not."""

    def __init__(self, server, vhost):
        self.socket = socket.create_connection((server.address, server.port), 10)
        self.socket.settimeout(10)
        self.socket.sendall(b"AMQP\0\0\x09\1")
        self.expect(10, 10)
        login = b"\0" + USER.encode() + b"\0" + PASSWORD.encode()
        self.method(0, 10, 11, table() + short_text("PLAIN") + long_text(login) + short_text("en_US"))
        self.expect(10, 30)
        self.method(0, 10, 31, struct.pack(">HIH", 8, 131072, 0))
        self.method(0, 10, 40, short_text(vhost) + b"\0\0")
        self.expect(10, 41)
        self.method(1, 20, 10, b"\0")
        self.expect(20, 11)
        self.method(1, 85, 10, b"\0")
        self.expect(85, 11)

    def frame(self, kind, channel, payload):
        self.socket.sendall(struct.pack(">BHI", kind, channel, len(payload)) + payload + b"\xce")

    def method(self, channel, group, number, arguments):
        self.frame(1, channel, struct.pack(">HH", group, number) + arguments)

    def read(self, count):
        data = b""
        while len(data) < count:
            part = self.socket.recv(count - len(data))
            if not part:
                raise EOFError("the server ended the connection")
            data += part
        return data

    def expect(self, group, number):
        while True:
            kind, _, size = struct.unpack(">BHI", self.read(7))
            payload = self.read(size + 1)
            if kind == 1:
                got = struct.unpack(">HH", payload[:4])
                assert got == (group, number), (got, payload)
                return

    def declare(self, queue):
        """A durable queue of the ordinary kind."""
        self.method(1, 50, 10, b"\0\0" + short_text(queue) + bytes([2]) + table())
        self.expect(50, 11)

    def publish(self, queue, body, headers=None, message_id=None):
        """`headers` is a table. Returns when the server has it."""
        flags = (1 << 13 if headers is not None else 0) | 1 << 12 | (1 << 7 if message_id is not None else 0)
        properties = (headers or b"") + b"\2" + (short_text(message_id) if message_id is not None else b"")
        self.method(1, 60, 40, b"\0\0\0" + short_text(queue) + b"\0")
        self.frame(2, 1, struct.pack(">HHQH", 60, 0, len(body), flags) + properties)
        for at in range(0, len(body), 100_000):
            self.frame(3, 1, body[at:at + 100_000])
        self.expect(60, 80)

    def close(self):
        self.socket.close()
