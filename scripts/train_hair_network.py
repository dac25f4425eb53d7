#!/usr/bin/env python3
"""Trains the small network of photo/person/hair_network.cpp and prints its weights as C++.

    qx_hair_bench --seeds 1000-2399 --lessons DIR
    scripts/train_hair_network.py DIR > photo/person/hair_weights.inc

Needs PyTorch (Debian: python3-torch). One thread and fixed seeds: the same lessons give the same weights. A file of
lessons holds, for a sample of the unknown pixels of one drawn scene, 56 values and the true alpha, as 32-bit floats.
"""
import os
import sys

import numpy as np
import torch

VALUES, FIRST, SECOND = 56, 64, 24
STEPS, BATCH, RATE = int(os.environ.get("STEPS", 8000)), 8192, 8e-3
HELD_BACK = 10  # one scene in so many is not learned from, only reported


def read(folder):
    scenes = [np.fromfile(os.path.join(folder, name), dtype=np.float32).reshape(-1, VALUES + 1)
              for name in sorted(os.listdir(folder), key=int)]
    return [scene for scene in scenes if len(scene) > 0]


def importance(scene):
    """Scenes whose mask is nearly right already count more: no picture is to become worse."""
    before = np.abs(scene[:, 0] - scene[:, VALUES]).mean()
    return np.full(len(scene), 1 / (before + 0.02), dtype=np.float32)


def network():
    torch.manual_seed(1)
    return torch.nn.Sequential(
        torch.nn.Linear(VALUES, FIRST), torch.nn.ReLU(), torch.nn.Linear(FIRST, SECOND), torch.nn.ReLU(),
        torch.nn.Linear(SECOND, 1))


def share(net, values):
    """Held between 0 and 1; what lies beyond is still drawn back by errors."""
    value = net(values)[:, 0] + 0.5
    return value + (value.clamp(0, 1) - value).detach()


def train(net, lessons, weights):
    optimiser = torch.optim.Adam(net.parameters())
    schedule = torch.optim.lr_scheduler.OneCycleLR(optimiser, RATE, total_steps=STEPS, pct_start=0.1)
    draw = torch.Generator().manual_seed(2)
    for step in range(STEPS):
        chosen = torch.randint(0, len(lessons), (BATCH,), generator=draw)
        batch, weight = lessons[chosen], weights[chosen]
        error = share(net, batch[:, :VALUES]) - batch[:, VALUES]
        loss = (weight * (error.abs() + error * error)).mean()
        optimiser.zero_grad()
        loss.backward()
        optimiser.step()
        schedule.step()
        if step % 500 == 499:
            print(step + 1, round(loss.item(), 4), file=sys.stderr, flush=True)


def literal(number):
    text = "%.6g" % number
    return text + ("f" if "." in text or "e" in text else ".0f")


def print_layer(name, layer):
    weights, offsets = layer.weight.detach().numpy(), layer.bias.detach().numpy()
    print("constexpr float k%sWeights[%d][%d] = {" % (name, *weights.shape))
    for row in weights:
        print("{" + ",".join(literal(number) for number in row) + "},")
    print("};")
    print("constexpr float k%sOffsets[%d] = {%s};" % (name, len(offsets), ",".join(literal(n) for n in offsets)))


def main():
    torch.set_num_threads(1)
    scenes = read(sys.argv[1])
    learned = [scene for i, scene in enumerate(scenes) if i % HELD_BACK]
    weights = torch.from_numpy(np.concatenate([importance(scene) for scene in learned]))
    net = network()
    train(net, torch.from_numpy(np.concatenate(learned)), weights / weights.mean())
    with torch.no_grad():
        ratios = []
        for scene in scenes[::HELD_BACK]:
            told = share(net, torch.from_numpy(scene[:, :VALUES])).numpy()
            ratios.append([np.abs(scene[:, 0] - scene[:, VALUES]).sum(), np.abs(told - scene[:, VALUES]).sum()])
    ratios = np.array(ratios)
    each = ratios[:, 1] / ratios[:, 0]
    print("held back: sum of errors %.3f of before, mean ratio %.3f, worst %.3f" %
          (ratios[:, 1].sum() / ratios[:, 0].sum(), each.mean(), each.max()), file=sys.stderr)
    print("// Made by scripts/train_hair_network.py.\n// clang-format off")
    print("constexpr size_t kFirst = %d, kSecond = %d;" % (FIRST, SECOND))
    for name, layer in zip(("First", "Second", "Last"), (net[0], net[2], net[4])):
        print_layer(name, layer)


if __name__ == "__main__":
    main()
