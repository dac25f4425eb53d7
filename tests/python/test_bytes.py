"""What a call makes, and what its command writes, are the same bytes."""

import json

import idphoto
import numpy
import pytest


@pytest.mark.parametrize("ending", ["jpg", "png"])
@pytest.mark.parametrize(
    "options",
    [
        {"preset": "schengen-visa", "max_kb": 50},
        {"preset": "de-passport", "relax": True, "background": "#d9d9d9", "dpi": 600},
        {"size": "300x400px", "head": "55-65%", "beauty": "light", "compare": True, "no_straighten": True},
    ],
)
def test_make(sample, command, tmp_path, ending, options):
    if ending == "png":
        options = {name: value for name, value in options.items() if name != "max_kb"}
    arguments = []
    for name, value in options.items():
        arguments += ["--" + name.replace("_", "-")] + ([] if value is True else [str(value)])
    theirs, printed = command("make", sample, *arguments, "--json", output="out." + ending)
    made = idphoto.make(sample, format=ending, **options)
    assert made.data == theirs
    expected = json.loads(printed)
    assert {**made.report, "output": expected["output"]} == expected
    made.save(tmp_path / ("saved." + ending))
    assert (tmp_path / ("saved." + ending)).read_bytes() == theirs
    compared = tmp_path / "saved-compare.{}".format(ending)
    assert compared.exists() == ("compare" in options)
    if "compare" in options:
        assert compared.read_bytes() == (tmp_path / ("out-compare." + ending)).read_bytes()
        assert (made.before != made.image).any()


def test_save_in_another_format_is_the_command_s_file(sample, command, tmp_path):
    made = idphoto.make(sample, preset="schengen-visa")
    made.save(tmp_path / "mine.PNG")
    theirs, _ = command("make", sample, "--preset", "schengen-visa", output="theirs.png")
    assert (tmp_path / "mine.PNG").read_bytes() == theirs
    assert (idphoto.read(theirs) == made.image).all()
    assert (idphoto.read(made._repr_png_()) == made.image).all()
    for name in ("mine.gif", "mine.tiff", "mine"):
        with pytest.raises(idphoto.BadOption):
            made.save(tmp_path / name)
    with pytest.raises(OSError):
        made.save(tmp_path / "nowhere" / "mine.jpg")
    assert sorted(file.name for file in tmp_path.iterdir()) == ["mine.PNG", "theirs.png"]


# Of each call its options and how the command writes the same files.
WHOLE_PICTURES = {
    "retouch": ("retouch", {"skin": 3, "detail": True}, ["--skin", 3, "--detail", "-o"], ["jpg", "png"]),
    "mask": ("mask", {"keep_rim": True}, ["--keep-rim", "-o"], ["png"]),
    "cutout": ("mask", {"cutout": True, "dpi": 300}, ["--dpi", 300, "--cutout"], ["png"]),
    "background": ("background", {"background": "gradient:white-blue"}, None, ["jpg", "png"]),
    "transparent": ("background", {"background": "transparent"}, None, ["png"]),
    "compress": ("compress", {"max_kb": 60, "dpi": 240}, ["--max-kb", 60, "--dpi", 240, "-o"], ["jpg"]),
    "watermark": ("watermark", {"text": "copy", "angle": 45, "opacity": 0.25}, None, ["jpg", "png"]),
    "draw_faces": ("inspect", {"points": "dense"}, ["--points", "dense", "--draw"], ["jpg", "png"]),
    "draw_check": ("check", {"preset": "schengen-visa"}, ["--preset", "schengen-visa", "--draw"], ["jpg", "png"]),
}


@pytest.mark.parametrize("name", WHOLE_PICTURES)
def test_whole_pictures(sample, command, tmp_path, name):
    word, options, arguments, endings = WHOLE_PICTURES[name]
    call = getattr(idphoto, word if not name.startswith("draw") else name)
    arguments = arguments or [part for key, value in options.items() for part in ("--" + key, value)] + ["-o"]
    picture = call(sample, **options)
    for ending in endings:
        command(word, sample, *arguments, tmp_path / ("theirs." + ending))
        theirs = (tmp_path / ("theirs." + ending)).read_bytes()
        picture.save(tmp_path / ("mine." + ending))
        assert (tmp_path / ("mine." + ending)).read_bytes() == theirs
        if picture.format == ending:
            assert picture.data == theirs
    if "png" in endings and name not in ("cutout", "transparent"):
        assert (idphoto.read(tmp_path / "mine.png") == picture.image).all() or picture.format != "png"
    assert (picture.alpha is not None) == (name in ("mask", "cutout", "transparent"))
    assert picture._repr_png_().startswith(b"\x89PNG")
    if name == "mask":
        grey = picture.image[..., 0]
        assert (grey == picture.alpha).all() and picture.report["width"] == grey.shape[1]
        with pytest.raises(idphoto.BadOption):
            picture.save(tmp_path / "mask.jpg")
    if name == "transparent":
        with pytest.raises(idphoto.BadOption):
            picture.save(tmp_path / "mine.jpg")


def test_reports_and_sheets(sample, command, tmp_path):
    assert idphoto.inspect(sample) == json.loads(command("inspect", sample, "--json")[1])
    assert idphoto.presets() == json.loads(command("presets", "--json")[1])
    assert idphoto.presets(country="DE") == json.loads(command("presets", "--country", "DE", "--json")[1])

    (tmp_path / "crops").mkdir()
    command("crop", sample, "--bound", 700, output="crops")
    assert [crop.data for crop in idphoto.crop(sample, bound=700)] == [
        file.read_bytes() for file in sorted((tmp_path / "crops").iterdir())
    ]

    made = tmp_path / "made.jpg"
    idphoto.make(sample, preset="schengen-visa").save(made)
    _, printed = command("check", made, "--preset", "schengen-visa", "--json")
    assert idphoto.check(made, preset="schengen-visa") == json.loads(printed)
    for ending in ("jpg", "png", "tiff"):
        mine = idphoto.sheet([made, made], copies=[2, 1], dpi=300, format=ending)
        assert mine.data == command("sheet", f"{made}:2", f"{made}:1", "--dpi", 300, output="sheet." + ending)[0]


def test_arrays_are_read_as_files_are(sample, tmp_path):
    """Lying, and so large that the faces are looked for in a smaller picture and parts are read on their own."""
    large = numpy.ascontiguousarray(numpy.rot90(idphoto.read(sample).repeat(6, 0).repeat(6, 1)[:, 200:]))
    file = idphoto.encode(large, "png", order="rgb")
    calls = [
        lambda *given, **order: idphoto.make(*given, preset="de-passport", compare=True, **order).data,
        lambda *given, **order: idphoto.crop(*given, bound=600, **order)[0].data,
        lambda *given, **order: idphoto.inspect(*given, **order),
        lambda *given, **order: idphoto.mask(*given, **order).data,
    ]
    for number, call in enumerate(calls):
        theirs = call(file)
        assert call(large, order="rgb") == theirs, number
        assert call(numpy.ascontiguousarray(large[..., ::-1]), order="bgr") == theirs, number
    small = numpy.ascontiguousarray(large[::6, ::6])
    file = idphoto.encode(small, "png", order="rgb")
    for call in (
        lambda *given, **order: idphoto.retouch(*given, skin=5, **order).data,
        lambda *given, **order: idphoto.background(*given, background="red", **order).data,
        lambda *given, **order: idphoto.watermark(*given, "copy", **order).data,
        lambda *given, **order: idphoto.compress(*given, dpi=300, **order).data,
        lambda *given, **order: idphoto.sheet(*given, size="51.2x47.9mm", **order).data,
    ):
        theirs = call(file)
        assert call(small, order="rgb") == theirs == call(numpy.ascontiguousarray(small[..., ::-1]), order="bgr")


def test_make_pair(sample, command, tmp_path):
    # Doubled side by side, close enough to each other.
    corners = idphoto.inspect(sample)["faces"][0]["corners"]
    left, right = min(x for x, _ in corners), max(x for x, _ in corners)
    beside = int(0.57 * (right - left))
    one = idphoto.read(sample)[:, left - beside : right + beside]
    idphoto.write(tmp_path / "two.png", numpy.concatenate([one, one], axis=1), order="rgb")
    options = {"preset": "cn-marriage-certificate"}
    theirs, _ = command("make", tmp_path / "two.png", "--pair", "--preset", options["preset"], output="pair.jpg")
    assert idphoto.make_pair(tmp_path / "two.png", **options).data == theirs
    assert idphoto.make(tmp_path / "two.png", pair=True, **options).data == theirs


def test_ways_to_hand_over_a_photograph(sample, command, tmp_path):
    with open(sample, "rb") as file:
        data = file.read()
    rgb, bgr = idphoto.read(data), idphoto.read(sample, order="bgr")
    assert (rgb[..., ::-1] == bgr).all() and (rgb != bgr).any()
    idphoto.write(tmp_path / "copy.png", bgr, order="bgr")
    theirs, _ = command("make", tmp_path / "copy.png", "--preset", "schengen-visa", output="out.jpg")
    mask, _ = command("mask", tmp_path / "copy.png", output="mask.png")
    grey = numpy.ascontiguousarray(idphoto.read(mask)[..., 0])
    with_mask = ("--mask", tmp_path / "mask.png", "--preset", "schengen-visa")
    masked, _ = command("make", tmp_path / "copy.png", *with_mask, output="m.jpg")
    made = {
        "path": idphoto.make(str(tmp_path / "copy.png"), preset="schengen-visa"),
        "bytes": idphoto.make((tmp_path / "copy.png").read_bytes(), preset="schengen-visa"),
        "rgb": idphoto.make(rgb, order="rgb", preset="schengen-visa"),
        "bgr": idphoto.make(bgr, order="bgr", preset="schengen-visa"),
    }
    assert {name: picture.data == theirs for name, picture in made.items()} == dict.fromkeys(made, True)
    assert (made["bgr"].image[..., ::-1] == made["rgb"].image).all()
    for mask_as in (tmp_path / "mask.png", mask, grey, idphoto.mask(tmp_path / "copy.png")):
        assert idphoto.make(rgb, order="rgb", mask=mask_as, preset="schengen-visa").data == masked
    assert idphoto.make(bgr, order="bgr", background="transparent", size="300x300px").alpha.shape == (300, 300)


def test_results_own_their_memory(sample):
    array = idphoto.read(sample)
    picture = idphoto.retouch(array, order="rgb", skin=5)
    data, image, kept = picture.data, picture.image, picture.image.copy()
    array[:] = 0
    del picture
    assert (image == kept).all() and image.flags.owndata and image.flags.writeable
    assert (idphoto.read(data).shape) == kept.shape
