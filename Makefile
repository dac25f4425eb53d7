# Short names for the scripts. PHOTOS='a.jpg b.jpg' names photographs for `make crop`.
.PHONY: crop test bench docs
crop:
	./scripts/crop.sh $(PHOTOS)
test:
	./scripts/test.sh
bench:
	./scripts/bench.sh
docs:
	./scripts/docs.sh
