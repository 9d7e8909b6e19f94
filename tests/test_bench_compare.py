"""bench/compare.py: the arithmetic of the side-by-side report."""
import math
import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "bench"))
import compare  # noqa: E402
import run_collection  # noqa: E402


def row(name, status, seconds, iterations, objective="", reference=""):
    return {"name": name, "status": str(status), "wall_seconds": str(seconds), "iterations": str(iterations),
            "objective": objective, "reference": reference}


class Compare(unittest.TestCase):
    def setUp(self):
        self.ours = {"a": row("a", 0, 1.0, 40), "b": row("b", 0, 100.0, 900),
                     "c": row("c", -600, 0.001, 0), "t": row("t", "timeout", 125.0, "")}
        self.peer = {"a": row("a", 0, 0.5, 20), "b": row("b", -401, 60.0, 3000),
                     "c": row("c", 0, 0.1, 5), "d": row("d", 0, 0.2, 7)}

    def test_shift_is_added_before_and_removed_after_the_mean(self):
        self.assertAlmostEqual(run_collection.shifted_geometric_mean([0.09, 0.99]), math.sqrt(0.1) - 0.01)
        self.assertAlmostEqual(run_collection.shifted_geometric_mean([0, 30], compare.ITERATION_SHIFT), 10.0)
        self.assertTrue(math.isnan(run_collection.shifted_geometric_mean([])))

    def test_ratios_only_over_models_both_solve(self):
        s = compare.compare(self.ours, self.peer, 1e-5)
        self.assertEqual(s["common"], ["a"])
        self.assertEqual((s["ours_solved"], s["peer_solved"]), (2, 3))
        # One common model: the shift cancels, b's 100 s and 900 iterations count nowhere.
        self.assertAlmostEqual(s["time"][2], 2.0)
        self.assertAlmostEqual(s["iterations"][2], 2.0)
        self.peer["b"] = row("b", 0, 25.0, 300)
        s = compare.compare(self.ours, self.peer, 1e-5)
        self.assertEqual(s["common"], ["a", "b"])
        self.assertAlmostEqual(s["time"][2], (math.sqrt(1.01 * 100.01) - 0.01) / (math.sqrt(0.51 * 25.01) - 0.01))
        # Nothing in common: no ratio.
        only_d = {"d": self.peer["d"]}
        self.assertTrue(math.isnan(compare.compare(self.ours, only_d, 1e-5)["time"][2]))
        self.assertIn("| wall time, s (shift 10 ms) | - | - | - |", compare.report(self.ours, only_d, "t", 1e-5, ""))

    def test_only_solved_models_within_tolerance_agree(self):
        ours = {"close": row("close", 0, 1, 1, "100.0004", "100"), "far": row("far", 0, 1, 1, "101", "100"),
                "unsolved": row("unsolved", -401, 1, 1, "100", "100"), "noref": row("noref", 0, 1, 1, "5", ""),
                "small": row("small", 0, 1, 1, "1e-6", "0")}
        self.assertEqual(compare.compare(ours, {}, 1e-5)["ours_agree"], 2)


class Report(unittest.TestCase):
    def test_counts_over_continuous_models_leave_out_relaxed_integer_models(self):
        with tempfile.TemporaryDirectory() as d:
            with open(os.path.join(d, "reference.tsv"), "w") as f:
                f.write("name\tn\tm\tnint\nint1\t8\t10\t8\ncont\t3\t1\t0\nbare\t2\t0\t\n")
            integers = compare.integer_models(d)
        self.assertEqual(integers, {"int1"})
        ours = {"int1": row("int1", -600, 0.01, 0), "cont": row("cont", 0, 1, 5), "bare": row("bare", -401, 1, 9)}
        peer = {"int1": row("int1", 0, 0.01, 4), "cont": row("cont", 0, 1, 5), "bare": row("bare", 0, 1, 9)}
        text = compare.report(ours, peer, "t", 1e-5, "", integers=integers)
        self.assertIn("| solved | 1 | 3 |", text)
        self.assertIn("| solved, the 2 models without integer variables | 1 | 2 |", text)
        self.assertNotIn("without integer variables", compare.report(ours, peer, "t", 1e-5, ""))

    def test_csv_files_to_report(self):
        with tempfile.TemporaryDirectory() as d:
            paths = []
            for side, rows in (("ours", [("a", 0, "2.0", 30), ("b", 0, "1.0", 9)]),
                               ("peer", [("a", 0, "1.0", 10), ("b", -200, "0.5", 50)])):
                paths.append(os.path.join(d, side + ".csv"))
                run_collection.write_csv(paths[-1], [[n, "", "", s, "1", "", "", i, "", t, ""] for n, s, t, i in rows])
            text = compare.report(compare.read_rows(paths[0]), compare.read_rows(paths[1]), "CUTE", 1e-5, "")
        self.assertIn("| a | 0 | 0 | 2 | 3 |", text)
        self.assertNotIn("| b |", text)
        self.assertIn("| solved | 2 | 1 |", text)
        text = compare.report({"a": row("a", 0, 0.09, 3)}, None, "netlib", 1e-5, "it reads .nl models only")
        self.assertIn("Peer: not run (it reads .nl models only).", text)
        self.assertIn("- Morvex solved: 1", text)


if __name__ == "__main__":
    unittest.main()
