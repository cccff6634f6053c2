#!/usr/bin/env python3
"""The service or the bus daemon goes and comes back while the client runs: the next operation works, without
restarting the client. Writes TAP."""

import os
import signal
import sys
from contextlib import contextmanager
from functools import partial
from pathlib import Path

from methods import DEVICE, METHODS, PATH, UNANSWERED, UNOPENED, Outcome
from stage import NO_DEVICE, Talk, finish, good_rules, start_service, wait_for_call
from tap import argument_parser, run_cases

import harness
from cases import BANNER, CPU_12, MAIN_MENU, NO_OBJECTS, device_table
from harness import Bench, exe_wrapper

BY_KEY = {method.key: method for method in METHODS}
GONE_DEVICE = device_table(CPU_12._replace(xmid="N/A"))


class Service:
    """A service on a bus, either of which can go, and clients of it."""

    def __init__(self, bench, wrapper, rules):
        self.bench = bench
        self.wrapper = exe_wrapper() if wrapper is None else wrapper
        self.rules = rules
        self.simulator = None
        self.start()

    def start(self, rules=None):
        self.simulator = start_service(self.bench, good_rules() | (self.rules if rules is None else rules))

    def stop(self):
        self.simulator.stop()

    def restart(self, rules=None):
        self.stop()
        self.start(rules)

    def client(self):
        return Talk(self.bench.start_client(wrapper=self.wrapper))

    def difference(self, talk, expected):
        return finish(talk, expected, native=not self.wrapper)


class Bus(Service):
    """The same; what goes is the bus, and the service with it."""

    def start(self, rules=None):
        if self.simulator:
            self.bench.start_bus()
        super().start(rules)

    def stop(self):
        self.bench.stop_bus()


@contextmanager
def serving(options, what, rules=None):
    with Bench(options.client, options.simulator) as bench:
        yield what(bench, options.wrapper, rules or {})


def gone_text(method, what):
    """What the method's step prints while the service, or the bus, is away."""
    step = UNOPENED if what is Bus else UNANSWERED
    outcome = method.failed(step)
    if method.key == "NameHasOwner" and what is Service:
        outcome = Outcome("not running", lambda: method.text(False))
    return method.step_text(outcome)


def next_operation_works(key, what, options):
    """Good, a restart, good, away, error, back, good. The suite and the table are opened anew each time."""
    method = BY_KEY[key]
    suite = key == "NameHasOwner"
    step = method.lead + method.step if suite else method.step
    good = (method.opening if suite else "") + method.step_text(method.good())
    gone = gone_text(method, what)
    if suite:
        gone = method.opening.replace(device_table(DEVICE), GONE_DEVICE) + gone
    expected = BANNER + MAIN_MENU + ("" if suite else method.opening) + good + good + gone + good + method.closing
    with serving(options, what, NO_DEVICE if suite else None) as service:
        talk = service.client()
        talk.write("" if suite else method.lead)
        talk.read_past(MAIN_MENU if suite else method.ready)

        def operate():
            talk.write(step)
            talk.read_past(MAIN_MENU if suite else method.ready)

        operate()
        service.restart()
        operate()
        service.stop()
        operate()
        service.start()
        talk.write(step + method.back)
        return service.difference(talk, expected)


def comes_late(what, options):
    """Discovery is never repeated: what was away at the start stays away for this client, and the next one
    finds it."""
    discovery = BY_KEY["GetManagedObjects"]
    with serving(options, what) as service:
        service.stop()
        early = service.client()
        early.read_past(MAIN_MENU)
        service.start()
        early.write("1\n2\n3\n")
        error = discovery.failed(UNANSWERED).text()[0]
        problem = service.difference(
            early, BANNER + error + MAIN_MENU + "\n" + MAIN_MENU + 2 * (NO_OBJECTS + MAIN_MENU)
        )
        late = service.client()
        late.write(discovery.step + discovery.back_from(discovery.good()))
        return problem or service.difference(late, discovery.transcript(discovery.good()))


REGRESSION = ["ReAuthenticate", "GetCertificate", "GetCertificateProperties", "GetMeasurement", "GetSignedMeasurement"]


def regression_text(failing=None):
    """The run over one device; the call of the method `failing` is not answered."""
    text = BANNER + MAIN_MENU + f"Starting Regression for object{PATH}\n"
    for key in REGRESSION:
        method = BY_KEY[key]
        text += (method.failed(UNANSWERED) if key == failing else method.good()).text()
    return text + "." * 88 + "\n\n\n" + MAIN_MENU


@contextmanager
def held(process):
    """The client stands still meanwhile."""
    os.kill(process.pid, signal.SIGSTOP)
    stat = Path(f"/proc/{process.pid}/stat")
    harness.wait_until(lambda: stat.read_text().rsplit(") ", 1)[1].startswith("T"), "the client to stand still")
    yield
    os.kill(process.pid, signal.SIGCONT)


def within_a_call_of_a_suite(key, what, options):
    """The call fails, and the next ones work."""
    with serving(options, what, {key: {"no_reply": True}}) as service:
        talk = service.client()
        talk.write("1\n")
        wait_for_call(service.bench, key)
        with held(talk.process):
            service.restart(rules={})
        return service.difference(talk, regression_text(failing=key))


def between_two_calls_of_a_suite(what, options):
    """No call fails. A monitor of the bus tells when the reply to the call before is with the client."""
    method = BY_KEY["GetCertificate"]
    # So late that the client is held before it has the reply.
    rule = good_rules()[method.key] | {"delay_ms": 1000}
    with serving(options, what, {method.key: rule}) as service:
        bench = service.bench
        monitor = bench.start(["dbus-monitor", "--address", bench.address, "type='method_return'"], wrapper=[])
        monitor.wait_for("member=NameLost")
        talk = service.client()
        talk.write("1\n")
        wait_for_call(bench, method.key)
        with held(talk.process):
            monitor.wait_for(method.values()[1])
            service.restart(rules={})
        return service.difference(talk, regression_text())


def cases():
    found = {}
    for word, what in (("service", Service), ("bus", Bus)):
        for method in METHODS:
            # Called once in a client's life, see comes_late; Get for both properties in one go.
            if method.key in ("GetManagedObjects", "Get DeviceEID"):
                continue
            name = method.key.replace(" XMID", "")
            found[f"{word}-restarted/{name}"] = partial(next_operation_works, method.key, what)
        found[f"{word}-comes-late"] = partial(comes_late, what)
        for key in REGRESSION:
            found[f"{word}-restarted-within-a-call-of-a-suite/{key}"] = partial(within_a_call_of_a_suite, key, what)
        found[f"{word}-restarted-between-two-calls-of-a-suite"] = partial(between_two_calls_of_a_suite, what)
    return found


sys.exit(1 if run_cases(cases(), argument_parser(__doc__).parse_intermixed_args()) else 0)
