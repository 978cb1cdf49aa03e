# SPDX-License-Identifier: MIT
"""The shipped policy on a real bus daemon with the system bus's own policy: who may talk to whom, rule by rule."""

import os
import re
import unittest

import systembus

systembus.become_root()
import cases  # noqa: E402: only now are the modules of a process that stays


class BusPolicyTest(systembus.SystemBusTest):
    """Everything that the table in cases.py says, message by message."""

    def test_everybody_mayDoWhatTheTableSaysAndNothingElse(self):
        stage = cases.Stage(self.daemon.path, self.accounts)
        self.addCleanup(stage.close)
        count = 0
        for title, expected, outcome in stage.check_all():
            count += 1
            with self.subTest(title):
                self.assertEqual(outcome, expected)
        print(f"{count} cases")

    def test_policy_isUnderstoodByTheBusWithoutComplaint(self):
        complaints = [line for line in self.daemon.log().splitlines() if "fd limit" not in line]
        self.assertEqual(complaints, [])

    def test_intruder_seesWhoIsThereAndNothingElse(self):
        service, player, intruder = (self.connect(who) for who in ("service", "player", "intruder"))
        service.own(cases.SERVICE)
        player.own(cases.PLAYER)
        names = intruder.ask("ListNames").unpack()[0]
        self.assertLessEqual({cases.SERVICE, cases.PLAYER}, set(names))

    def test_application_canTakeTheNameOfAnother(self):
        """What the policy cannot tell apart: all clients are of one group."""
        self.assertEqual(self.connect("player").own(cases.PANEL), "done")
        self.assertEqual(self.connect("panel").own(cases.PANEL), "refused with 3")


class OwnNamesTest(systembus.SystemBusTest):
    """What the documentation says to add, for an account that is to have one name only."""

    def policy(self):
        with open(os.path.join(os.environ["KIV_SOURCE"], "docs", "security.md"), encoding="utf-8") as document:
            addition = document.read().partition("<busconfig>\n")[2].partition("</busconfig>")[0]
        self.assertIn('user="player"', addition)
        return super().policy() + addition.replace('"player"', f'"{self.accounts["player"].name}"')

    def test_application_hasItsOwnNameOnly(self):
        player = self.connect("player")
        self.assertEqual(player.own(cases.PANEL), cases.DENIED)
        self.assertEqual(player.own(cases.PLAYER), "done")


class UnknownAccountsTest(systembus.SystemBusTest):
    """A policy for an account and a group that the machine does not have."""

    def policy(self):
        policy = super().policy()
        for who in ("user", "group"):
            policy = re.sub(f'<policy {who}="(?!root)[^"]*"', f'<policy {who}="kivtest-none"', policy)
        return policy

    def test_bus_startsLeavesTheRulesOutAndSaysSo(self):
        self.assertEqual(self.connect("service").own(cases.SERVICE), cases.DENIED)
        self.assertEqual(self.connect("player").own(cases.PLAYER), cases.DENIED)
        self.assertRegex(self.daemon.log(), '(?i)unknown username "kivtest-none"')
        self.assertRegex(self.daemon.log(), '(?i)unknown group "kivtest-none"')


class WithoutPolicyTest(systembus.SystemBusTest):
    """What the system bus does when nobody has given it a policy for the service."""

    ADDITION = ""

    def test_nobody_ownsANameOrCallsAnybody(self):
        people = {who: self.connect(who) for who in self.accounts}
        for who, connection in people.items():
            for name in (cases.SERVICE, cases.PLAYER):
                self.assertEqual(connection.own(name), cases.DENIED, f"{who}: {name}")
            for other in people.values():
                if other is not connection:
                    message = cases.call(other.name, cases.CLIENT_PATH, cases.INTERFACE, "Request")
                    self.assertEqual(connection.exchange(message).get_error_name(), cases.DENIED, who)


class MutationTest(systembus.SystemBusTest):
    """Each rule, and each attribute of a rule, is needed: without it a case fails. They are taken from the file."""

    def start_daemon(self, addition):
        return None  # one for each mutation

    def failures_of(self, tree):
        daemon = systembus.Daemon(self.directory, systembus.beside_the_neighbour(tree))
        try:
            return cases.failures(daemon.path, self.accounts)
        finally:
            daemon.stop()

    def rules(self, tree):
        """The rules of a policy, with whom they are for and how they read."""
        for policy in tree:
            whom = " ".join(f"{name} {value}" for name, value in policy.attrib.items())
            for rule in policy:
                attributes = " ".join(f'{name}="{value}"' for name, value in rule.attrib.items())
                yield policy, rule, f"{whom}: `{rule.tag} {attributes}`"

    def mutations(self):
        """What is deleted, and the policy without it."""
        count = len(list(self.rules(systembus.policy_tree())))
        for index in range(count):
            tree = systembus.policy_tree()
            policy, rule, text = list(self.rules(tree))[index]
            policy.remove(rule)
            yield text, tree
            for attribute in rule.attrib if len(rule.attrib) > 1 else ():
                tree = systembus.policy_tree()
                del list(self.rules(tree))[index][1].attrib[attribute]
                yield f"{text} without {attribute}", tree

    def test_eachRuleAndAttribute_isMissedWhenItIsDeleted(self):
        self.assertEqual(self.failures_of(systembus.policy_tree()), [])
        print("\n| Deleted | Cases that fail without it | One of them |\n|---|---|---|")
        for text, tree in self.mutations():
            failures = self.failures_of(tree)
            print(f"| {text} | {len(failures)} | {failures[0] if failures else 'none'} |")
            with self.subTest(text):
                self.assertNotEqual(failures, [])


class RealProgramsTest(systembus.SystemBusTest):
    """The simulator as the service, programs with the library as its clients."""

    def setUp(self):
        super().setUp()
        service = self.start("service", "KIV_SIMULATOR", "--modes", "Radio,Bluetooth")
        self.assertEqual(service.line(), "ready")

    def test_hmi_setsModesAndHearsOfThem(self):
        hmi = self.start("panel", "KIV_HMI_CONSOLE")
        self.assertEqual(hmi.line(), "modes: Radio, Bluetooth; current: Radio")
        hmi.send("set Bluetooth")
        self.assertEqual(hmi.line(), "request 1 sent")
        self.assertEqual({hmi.line(), hmi.line()}, {"mode is now Bluetooth", "request 1 done"})

    def test_application_getsTheFocusAndTheHmiHearsTheBroadcast(self):
        hmi = self.start("panel", "KIV_HMI_CONSOLE")
        hmi.line()
        player = self.start("player", "KIV_MEDIA_CONSOLE", "player")
        self.assertEqual(player.line(), "stream registered")
        self.assertEqual(hmi.line(), "mode added: /com/quorvantel/audioclient/player")
        player.send("request")
        self.assertEqual(player.line(), "request 1 sent")
        self.assertEqual({player.line(), player.line()}, {"request 1 accepted", "decision: granted"})
        self.assertEqual(hmi.line(), "focus of player: gained")

    def test_kivctl_ofAClientAccount_works(self):
        self.assertEqual(self.run_to_end("player", "KIV_CTL", "set-mode", "Bluetooth")[0], 0)
        self.assertEqual(self.run_to_end("panel", "KIV_CTL", "mode"), (0, "Bluetooth\n", ""))
        code, output, errors = self.run_to_end("player", "KIV_CTL", "status")
        self.assertEqual((code, errors), (0, ""), output)

    def test_kivctl_ofAnyOtherAccount_isRefused(self):
        for who in ("intruder", "root"):
            code, output, errors = self.run_to_end(who, "KIV_CTL", "mode")
            self.assertEqual((code, output), (3, ""), who)
            self.assertIn("Rejected send message", errors)

    def test_root_watchesTheBusAllTheSame(self):
        trace = self.start("root", "KIV_CTL", "trace")
        self.assertIn("service present", trace.line())
        self.start("panel", "KIV_HMI_CONSOLE").line()
        self.assertIn('<- hmi  openSession {"busName":"com.quorvantel.audioclient.hmi"', trace.line())

    def test_secondService_ofAnyOtherAccount_doesNotStart(self):
        for who in ("player", "intruder", "root"):
            code, output, errors = self.run_to_end(who, "KIV_SIMULATOR")
            self.assertEqual((code, output), (4, ""), f"{who}: {errors}")


if __name__ == "__main__":
    unittest.main()
