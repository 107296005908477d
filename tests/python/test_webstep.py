"""The Python package webstep: users of the library-loans example against its
live server (events of init, an iteration and end), and small folders of
our own for globals, parameters, unique rows, pacing, stops, bad input and
the interpreter lock.

Run with Debian's Python and the built package on the path:
    PYTHONPATH=build/python /usr/bin/python3 tests/python/test_webstep.py
Exit status 77 (a skip for ctest) when the package is not built.
"""

import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import textwrap
import threading
import time
import unittest

try:
    import webstep
except ImportError as error:
    print(f"SKIP: the Python package webstep is not importable ({error}); build it and put "
          "<build>/python on PYTHONPATH", file=sys.stderr)
    sys.exit(77)

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
EXAMPLE = os.path.join(ROOT, "examples", "library-loans")
PYTHON = os.environ.get("WEBSTEP_PYTHON", sys.executable)


def start_server():
    """The example's server on a port of its own choosing; returns (process, port)."""
    process = subprocess.Popen(
        [PYTHON, os.path.join(EXAMPLE, "server", "server.py"), "--tls", "--port", "0"],
        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, start_new_session=True)
    line = process.stdout.readline()
    match = re.search(r"listening on [^:\s]+:(\d+)", line)
    if not match:
        stop_server(process)
        raise RuntimeError(f"the example server did not start: {line!r}")
    return process, int(match.group(1))


def stop_server(process):
    try:
        os.killpg(process.pid, signal.SIGTERM)
        process.wait(timeout=10)
    except (ProcessLookupError, subprocess.TimeoutExpired):
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()


def kinds(events, kind):
    return [event for event in events if event.kind == kind]


class Folder:
    """A script folder of our own: init, one run action and end in C."""

    def __init__(self, init, run, end, prm="", tables=None, iterations="NumOfIterations=2\n",
                 think="Options=NOTHINK\n"):
        self.path = tempfile.mkdtemp(prefix="webstep-py-")
        files = {
            "init.c": init, "run.c": run, "end.c": end,
            "test.usr": "[General]\nDefaultCfg=default.cfg\nParameterFile=test.prm\n"
                        "[Actions]\ninit=init.c\nrun=run.c\nend=end.c\n"
                        "[RunLogicFiles]\nDefault Profile=default.usp\n",
            "default.cfg": f"[ThinkTime]\n{think}[Iterations]\n{iterations}[WEB]\n",
            "test.prm": prm,
        }
        usp = ""
        for root, name, action in (("RunLogicInitRoot", "Init", "init"),
                                   ("RunLogicRunRoot", "Run", "run"),
                                   ("RunLogicEndRoot", "End", "end")):
            usp += (f'[{root}]\nName="{name}"\nRunLogicObjectKind="Group"\n'
                    f'RunLogicActionOrder="{action}"\nRunLogicNumOfIterations="1"\n'
                    f'RunLogicRunMode="Sequential"\n[{root}:{action}]\nName="{action}"\n'
                    'RunLogicObjectKind="Action"\n')
        files["default.usp"] = usp
        files.update(tables or {})
        for name, text in files.items():
            with open(os.path.join(self.path, name), "w") as out:
                out.write(textwrap.dedent(text))

    def remove(self):
        shutil.rmtree(self.path, ignore_errors=True)


COUNTING = dict(
    init="int count;\ninit() { count = 100; return 0; }\n",
    run='run() { count++; qz_output_message("count %d", count); return 0; }\n',
    end='end() { qz_output_message("end %d", count); return 0; }\n',
)


def outputs(events):
    return [event.text for event in events if event.kind == "message" and event.level == "output"]


class ExampleAgainstItsServer(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.server, port = start_server()
        cls.addClassCleanup(stop_server, cls.server)
        cls.connect_to = [f"loans.example.org:443:127.0.0.1:{port}"]
        cls.script = webstep.Script(EXAMPLE)

    def user(self, number, **options):
        return webstep.VirtualUser(self.script, number, connect_to=self.connect_to,
                                   insecure=True, think_time="none", **options)

    def test_init_an_iteration_and_end_report_their_requests_and_transactions(self):
        self.assertTrue(self.script.compiled)
        self.assertEqual(self.script.actions, ["init", "loans", "end"])
        user = self.user(1)
        init = user.run_init()
        home = [event for event in kinds(init, "request") if event.name == "home"]
        self.assertEqual(home[0].method, "GET")
        self.assertEqual(home[0].url, "https://loans.example.org/")
        self.assertEqual(home[0].status, 200)
        self.assertGreater(home[0].bytes, 0)
        self.assertGreater(home[0].duration, 0)
        self.assertIsNone(home[0].error)
        self.assertEqual([(t.name, t.status) for t in kinds(init, "transaction")],
                         [("sign_in", "pass")])
        iteration = user.run_iteration()
        self.assertEqual([(t.name, t.status) for t in kinds(iteration, "transaction")],
                         [("my_loans", "pass"), ("search", "pass"), ("renew", "pass")])
        renew = [event for event in kinds(iteration, "request") if event.name == "renew"]
        self.assertEqual((renew[0].method, renew[0].status, renew[0].transaction),
                         ("POST", 200, "renew"))
        self.assertFalse(any(event.failed for event in kinds(iteration, "request")))
        self.assertEqual(kinds(iteration, "step"), [])
        self.assertEqual(user.iteration, 1)
        self.assertFalse(user.last_iteration_failed)
        self.assertEqual(user.pacing(), 0.0)  # IterationASAP
        self.assertEqual([t.name for t in kinds(user.run_iteration(), "transaction")],
                         ["my_loans", "search", "renew"])
        end = user.run_end()
        self.assertEqual([event.name for event in kinds(end, "request")][-1], "Sign out")
        self.assertEqual(user.ending, "completed")

    def test_step_calls_in_order_without_compiling(self):
        script = webstep.Script(EXAMPLE, compile=False)
        self.assertFalse(script.compiled)
        user = webstep.VirtualUser(script, 3, connect_to=self.connect_to, insecure=True,
                                   think_time="none")
        events = user.run_init() + user.run_iteration() + user.run_end()
        self.assertEqual([(t.name, t.status) for t in kinds(events, "transaction")],
                         [("sign_in", "pass"), ("my_loans", "pass"), ("search", "pass"),
                          ("renew", "pass")])
        self.assertEqual(user.ending, "completed")

    def test_a_server_that_is_not_there_fails_requests_and_transactions(self):
        user = webstep.VirtualUser(self.script, 4, connect_to=["loans.example.org:443:127.0.0.1:1"],
                                   insecure=True, think_time="none")
        init = user.run_init()
        request = kinds(init, "request")[0]
        self.assertEqual(request.status, 0)
        self.assertTrue(request.failed)
        self.assertIn("127.0.0.1", request.error or "")
        self.assertEqual(kinds(init, "step")[0].name, "home")
        user.run_end()

    def test_the_interpreter_lock_is_released_while_a_user_runs(self):
        # qz_think_time(4) in the iteration, waited at half: about 5 s in
        # all; another Python thread counts meanwhile.
        user = webstep.VirtualUser(self.script, 5, connect_to=self.connect_to, insecure=True,
                                   think_time="multiply=0.1")
        user.run_init()
        counted = [0]
        done = threading.Event()

        def count():
            while not done.is_set():
                counted[0] += 1

        counter = threading.Thread(target=count)
        counter.start()
        try:
            time.sleep(0.05)
            before = counted[0]
            started = time.monotonic()
            user.run_iteration()
            spent = time.monotonic() - started
            progress = counted[0] - before
        finally:
            done.set()
            counter.join()
        user.run_end()
        self.assertGreaterEqual(spent, 0.9)  # (4 + 6) s * 0.1
        # Held, the lock would have let the counter run about one switch
        # interval (5 ms) per request at most.
        self.assertGreater(progress, 100000)


class OwnFolders(unittest.TestCase):
    def folder(self, **parts):
        folder = Folder(**{**COUNTING, **parts})
        self.addCleanup(folder.remove)
        return folder

    def test_one_copy_of_the_globals_lasts_from_init_to_end(self):
        script = webstep.Script(self.folder().path)
        first, second = webstep.VirtualUser(script, 1), webstep.VirtualUser(script, 2)
        seen = []
        for user in (first, second):
            seen += outputs(user.run_init())
        seen += outputs(first.run_iteration()) + outputs(first.run_iteration())
        seen += outputs(second.run_iteration())
        seen += outputs(first.run_end()) + outputs(second.run_end())
        self.assertEqual(seen, ["count 101", "count 102", "count 101", "end 102", "end 101"])

    def test_user_numbers_params_and_attributes_reach_the_script(self):
        run = textwrap.dedent("""\
            run() {
              int id; char *group;
              qz_whoami(&id, &group, 0);
              qz_output_message("user %d greets %s from %s", id, qz_eval_string("{greeting}"),
                                qz_get_attrib_string("region"));
              return 0;
            }
            """)
        script = webstep.Script(self.folder(run=run).path)
        user = webstep.VirtualUser(script, 42, params={"greeting": "hello"},
                                   attributes={"region": "north"})
        user.run_init()
        self.assertEqual(outputs(user.run_iteration()), ["user 42 greets hello from north"])
        user.run_end()

    def test_unique_rows_follow_the_user_number_without_overlap(self):
        prm = textwrap.dedent("""\
            [parameter:row]
            ParamName="row"
            Type="Table"
            Table="rows.dat"
            ColumnName="row"
            Delimiter=","
            StartRow="1"
            SelectNextRow="Unique"
            GenerateNewVal="EachIteration"
            OutOfRangePolicy="ContinueCyclic"
            """)
        table = "row\n" + "".join(f"r{n}\n" for n in range(1, 7))
        run = 'run() { qz_output_message("%s", qz_eval_string("{row}")); return 0; }\n'
        script = webstep.Script(self.folder(run=run, prm=prm, tables={"rows.dat": table}).path,
                                user_count=3)
        self.assertEqual(script.user_count, 3)
        rows = {}
        for number in (1, 2, 3):
            user = webstep.VirtualUser(script, number)
            user.run_init()
            rows[number] = outputs(user.run_iteration()) + outputs(user.run_iteration())
            user.run_end()
        self.assertEqual(rows, {1: ["r1", "r2"], 2: ["r3", "r4"], 3: ["r5", "r6"]})
        # Two live users with one number share a block, and are told so.
        first, second = webstep.VirtualUser(script, 2), webstep.VirtualUser(script, 2)
        first.run_init()
        first.run_iteration()
        second.run_init()
        events = second.run_iteration()
        warnings = [e.text for e in kinds(events, "message") if e.level == "warning"]
        self.assertTrue(any("another user with the number 2" in text for text in warnings),
                        events)
        self.assertEqual(outputs(events), ["r3"])
        with self.assertRaisesRegex(ValueError, "user_count must be at least 1"):
            script.user_count = 0

    def test_pacing_is_handed_to_the_caller(self):
        folder = self.folder(iterations="NumOfIterations=2\nIterationPace=ConstPace\n"
                                        "StartEvery=5\n")
        user = webstep.VirtualUser(webstep.Script(folder.path), 1)
        self.assertEqual(user.pacing(), 0.0)  # no iteration yet
        user.run_init()
        started = time.monotonic()
        user.run_iteration()
        self.assertLess(time.monotonic() - started, 1.0)  # not waited inside
        self.assertGreater(user.pacing(), 4.0)
        self.assertLessEqual(user.pacing(), 5.0)
        user.run_end()

    def test_a_stop_cuts_think_time_short_and_the_end_still_runs(self):
        run = 'run() { qz_think_time(30); qz_output_message("after"); return 0; }\n'
        folder = self.folder(run=run, think="Options=RECORDED\n")
        user = webstep.VirtualUser(webstep.Script(folder.path), 1)
        user.run_init()
        result = []
        thread = threading.Thread(target=lambda: result.append(user.run_iteration()))
        started = time.monotonic()
        thread.start()
        time.sleep(0.3)
        user.request_stop()
        thread.join(10)
        self.assertFalse(thread.is_alive())
        self.assertLess(time.monotonic() - started, 5.0)
        self.assertTrue(user.must_end)
        self.assertEqual(user.run_iteration(), [])
        self.assertEqual(outputs(user.run_end()), ["end 100"])
        self.assertEqual(user.ending, "ended")

    def test_a_user_that_exits_must_end(self):
        run = "run() { qz_exit(QZ_EXIT_VUSER, QZ_FAIL); return 0; }\n"
        user = webstep.VirtualUser(webstep.Script(self.folder(run=run).path), 1)
        user.run_init()
        user.run_iteration()
        self.assertTrue(user.must_end)
        self.assertTrue(user.last_iteration_failed)
        self.assertEqual(user.run_iteration(), [])
        self.assertEqual(outputs(user.run_end()), ["end 100"])
        self.assertEqual(user.ending, "ended")

    def test_a_crash_ends_the_user_with_where_it_happened(self):
        run = "run() { int *p = 0; return *p; }\n"
        user = webstep.VirtualUser(webstep.Script(self.folder(run=run).path), 9)
        user.run_init()
        user.run_iteration()
        self.assertTrue(user.must_end)
        self.assertEqual(outputs(user.run_end()), [])  # no end after a crash
        self.assertEqual(user.ending, "crashed")
        self.assertIn("user 9: SIGSEGV", user.end_message)

    def test_a_folder_without_a_description_replays_its_step_calls_in_order(self):
        path = tempfile.mkdtemp(prefix="webstep-py-plain-")
        self.addCleanup(shutil.rmtree, path, True)
        for name, transaction in (("vuser_init.c", "opening"), ("Action.c", "working"),
                                  ("vuser_end.c", "closing")):
            with open(os.path.join(path, name), "w") as out:
                out.write(f'f() {{ qz_start_transaction("{transaction}"); '
                          f'qz_end_transaction("{transaction}", QZ_PASS); return 0; }}\n')
        with open(os.path.join(path, "default.cfg"), "w") as out:
            out.write("[WEB]\nHttpVer=HTTP/1.1\n")
        script = webstep.Script(path)
        self.assertFalse(script.compiled)
        user = webstep.VirtualUser(script, 1)
        names = [[t.name for t in kinds(events, "transaction")]
                 for events in (user.run_init(), user.run_iteration(), user.run_iteration(),
                                user.run_end())]
        self.assertEqual(names, [["opening"], ["working"], ["working"], ["closing"]])
        self.assertEqual(user.ending, "completed")

    def test_c_that_does_not_compile_raises_script_error_with_the_compilers_messages(self):
        folder = self.folder(run="run() {\n  int x = ;\n  return 0;\n}\n")
        with self.assertRaises(webstep.ScriptError) as raised:
            webstep.Script(folder.path)
        self.assertIn("does not compile", str(raised.exception))
        self.assertIn("run.c:2:", str(raised.exception))
        self.assertIsInstance(raised.exception, Exception)

    def test_a_folder_that_is_not_there_raises_script_error(self):
        with self.assertRaisesRegex(webstep.ScriptError, "is not a readable script folder"):
            webstep.Script("/nonexistent/webstep-folder")

    def test_calls_out_of_order_and_bad_arguments_say_what_was_expected(self):
        script = webstep.Script(self.folder().path)
        user = webstep.VirtualUser(script, 1)
        with self.assertRaisesRegex(RuntimeError, r"run_init\(\) must run before"):
            user.run_iteration()
        user.run_init()
        with self.assertRaisesRegex(RuntimeError, r"run_init\(\) runs once"):
            user.run_init()
        user.run_end()
        with self.assertRaisesRegex(RuntimeError, r"run_end\(\) runs once"):
            user.run_end()
        with self.assertRaisesRegex(RuntimeError, "no more iterations"):
            user.run_iteration()
        with self.assertRaisesRegex(ValueError, "user_id must be a number from 1"):
            webstep.VirtualUser(script, 0)
        with self.assertRaisesRegex(TypeError, "user_id"):
            webstep.VirtualUser(script, "1")
        with self.assertRaisesRegex(TypeError, "expected a webstep.Script"):
            webstep.VirtualUser("folder", 1)
        with self.assertRaisesRegex(ValueError, "connect"):
            webstep.VirtualUser(script, 1, connect_to=["no colons here"])
        with self.assertRaisesRegex(TypeError, "connect_to: expected str entries"):
            webstep.VirtualUser(script, 1, connect_to=[443])
        with self.assertRaisesRegex(ValueError, "think_time"):
            webstep.VirtualUser(script, 1, think_time="sometimes")
        with self.assertRaisesRegex(TypeError, "params: the names must be str"):
            webstep.VirtualUser(script, 1, params={1: "x"})
        with self.assertRaisesRegex(ValueError, "user_count must be at least 1"):
            webstep.Script(self.folder().path, user_count=0)

    def test_the_locust_user_numbers_are_unique_and_dense_across_workers(self):
        # In a process of its own: importing locust patches the standard
        # library for gevent.
        code = textwrap.dedent("""\
            from webstep.locust import user_number
            two = sorted(user_number(slot, index, 2) for index in (0, 1) for slot in range(1, 11))
            assert two == list(range(1, 21)), two
            assert user_number(3, 1, 2) == 6
            assert user_number(1, 2, 2) == 1_000_001 and user_number(2, 3, 2) == 2_000_002
            try:
                user_number(0, 0, 1)
            except ValueError as error:
                assert "expected slot >= 1" in str(error)
            else:
                raise AssertionError("slot 0 accepted")
            print("ok")
            """)
        result = subprocess.run([PYTHON, "-c", code], capture_output=True, text=True, timeout=60)
        if "No module named 'locust'" in result.stderr:
            self.skipTest("locust is not installed for this Python")
        self.assertEqual(result.stdout.strip(), "ok", result.stderr)


if __name__ == "__main__":
    unittest.main()
